#include "scaler/bicubic_luma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scaler/axis.h"
#include "scaler/bands.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/row_ring.h"
#include "scaler/slice_args.h"

namespace vantor {
namespace {

const LumaKernels& activeKernels() {
    static const LumaKernels& kernels = bestTable(kLumaTables);
    return kernels;
}

/// Consecutive output columns with their positions. By where their taps fall they divide, from left to right,
/// into left columns (on source column 0), middle columns (all four taps inside) and right columns (a tap
/// beyond the last column). In sources of one or two columns all are right columns.
class LumaStrip {
public:
    LumaStrip(const Axis& axis, int firstColumn, int columns, int srcWidth)
        : columns_(columns), srcWidth_(srcWidth) {
        for (int i = 0; i < columns; ++i) {
            const int ix = axis.index(firstColumn + i);
            phase_[i] = static_cast<uint8_t>(axis.phase(firstColumn + i));
            tap_[i] = static_cast<uint32_t>(ix - 1);
            if (ix + 1 < srcWidth - 1) {
                ++middleEnd_;
                if (ix == 0) ++middleFirst_;
            }
        }
    }

    int columns() const { return columns_; }

    void filter(const LumaKernels& kernels, const uint8_t* row, uint8_t* out) const {
        for (int i = 0; i < middleFirst_; ++i) out[i] = cubic(row[0], row[0], row[1], row[2], phase_[i]);
        kernels.filterRow(row, tap_ + middleFirst_, phase_ + middleFirst_, out + middleFirst_,
                          middleEnd_ - middleFirst_);
        for (int i = middleEnd_; i < columns_; ++i) out[i] = rightColumn(row, i);
    }

private:
    /// The left tap is not clamped: in sources of one or two columns it is the byte before the row.
    uint8_t rightColumn(const uint8_t* row, int i) const {
        const int ix = static_cast<int>(tap_[i]) + 1;
        const int last = srcWidth_ - 1;
        return cubic(row[ix - 1], row[ix], row[std::min(ix + 1, last)], row[std::min(ix + 2, last)],
                     phase_[i]);
    }

    int columns_;
    int srcWidth_;
    int middleFirst_ = 0;
    int middleEnd_ = 0;
    uint32_t tap_[kStripColumns];
    uint8_t phase_[kStripColumns];
};

void scaleStrip(const ScaleSliceArgs& args, const LumaKernels& kernels, const LumaStrip& strip,
                const Axis& rowAxis, const RowRange& rows, uint8_t* dst) {
    RowRing<uint8_t, 4, kStripColumns> ring;
    const auto filtered = [&](int srcRow) {
        const int clamped = std::clamp(srcRow, 0, args.srcHeight - 1);
        return ring.row(clamped, [&](int index, uint8_t* out) {
            strip.filter(kernels, args.src + std::ptrdiff_t{index} * args.srcStride, out);
        });
    };
    for (int i = 0; i < rows.count; ++i) {
        const int y = rows.row(i);
        const int iy = rowAxis.index(y);
        const uint8_t* const taps[4] = {filtered(iy - 1), filtered(iy), filtered(iy + 1), filtered(iy + 2)};
        kernels.blendRows(taps, rowAxis.phase(y), dst + std::ptrdiff_t{y} * args.dstStride, strip.columns());
    }
}

int scaleRows(const ScaleSliceArgs& args, PositionFormat format, const RowRange& rows) {
    if (args.srcWidth <= 0 || args.srcHeight <= 0 || args.dstWidth <= 0 || args.dstHeight <= 0) return 0;
    // Only the plain form is 32 bits wide, as phases beyond 31 need.
    const LumaKernels& kernels = format.phaseBits > 5 ? kLumaPlain : activeKernels();
    const Axis columnAxis(args.srcWidth, args.dstWidth, format);
    const Axis rowAxis(args.srcHeight, args.dstHeight, format);
    for (int x = 0; x < args.dstWidth; x += kStripColumns) {
        const LumaStrip strip(columnAxis, x, std::min(kStripColumns, args.dstWidth - x), args.srcWidth);
        scaleStrip(args, kernels, strip, rowAxis, rows, args.dst + x);
    }
    return 0;
}

int scaleBand(const ScaleSliceArgs& args, int band) {
    return scaleRows(args, kPosition8192, quarterBand(band, args.dstHeight));
}

}  // namespace
}  // namespace vantor

using namespace vantor;

int interpolateBCY(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                   int dstWidth, int dstHeight, int dstStride) {
    return scaleRows({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, kPosition64,
                     {0, dstHeight, false});
}

int interpolateBCY_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                     int dstWidth, int dstHeight, int dstStride) {
    return scaleRows({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, kPosition32,
                     {0, dstHeight / 2, false});
}

int interpolateBCY_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                     int dstWidth, int dstHeight, int dstStride) {
    return scaleRows({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, kPosition32,
                     {dstHeight / 2, dstHeight - dstHeight / 2, false});
}

int interpolateBCY_neon(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                        int dstWidth, int dstHeight, int dstStride) {
    return scaleRows({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, kPosition32,
                     {0, dstHeight, false});
}

int interpolateBCY_neon_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 1);
}

int interpolateBCY_neon_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 2);
}

int interpolateBCY_neon_3(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 3);
}

int interpolateBCY_neon_4(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 4);
}

int cubicinterpolate(unsigned char* p, int t) {
    return cubic(p[0], p[1], p[2], p[3], t);
}

void allocate_cubicinterpolate_opt_asm_2(unsigned char* row0, const short* phaseX, unsigned char* out,
                                         int groups, unsigned char* row1, unsigned char* row2,
                                         unsigned char* row3, int phaseY, const short* tapX) {
    constexpr int kLanes = 8;
    const LumaKernels& kernels = activeKernels();
    const uint8_t* const sources[4] = {row0, row1, row2, row3};
    for (int group = 0; group < groups; ++group) {
        uint32_t tap[kLanes];
        uint8_t phase[kLanes];
        for (int lane = 0; lane < kLanes; ++lane) {
            tap[lane] = static_cast<uint16_t>(*tapX++);
            phase[lane] = static_cast<uint8_t>(*phaseX++);
        }
        uint8_t filtered[4][kLanes];
        for (int i = 0; i < 4; ++i) kernels.filterRow(sources[i], tap, phase, filtered[i], kLanes);
        const uint8_t* const rows[4] = {filtered[0], filtered[1], filtered[2], filtered[3]};
        kernels.blendRows(rows, phaseY, out, kLanes);
        out += kLanes;
    }
}
