#include "scaler/bicubic_luma.h"

#include <algorithm>
#include <cstdint>
#include <optional>

#include "scaler/bands.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/cubic.h"
#include "scaler/picture_scale.h"
#include "scaler/reduce_rows.h"

namespace vantor {
namespace {

const BicubicLumaKernels& activeKernels() {
    static const BicubicLumaKernels& kernels = bestTable(kBicubicLumaTables);
    return kernels;
}

/// Consecutive output columns with their positions. By where their taps fall they divide, from left to right,
/// into left columns (on source column 0), middle columns (all four taps inside) and right columns (a tap
/// beyond the last column). In sources of one or two columns all are right columns.
template <int MaxColumns>
class BicubicLumaColumns {
public:
    using Kernels = BicubicLumaKernels;
    static constexpr int kChannels = 1;
    static constexpr bool kIsPlanar = false;
    static constexpr int kMaxColumns = MaxColumns;
    static constexpr int kTaps = 4;

    BicubicLumaColumns(const Kernels& kernels, const Axis& axis, int firstColumn, int columns,
                       const SourcePlane& src)
        : axis_(axis),
          firstColumn_(firstColumn),
          columns_(columns),
          srcWidth_(src.columns),
          firstReadable_(src.firstReadable) {
        while (middleFirst_ < columns && isLeft(middleFirst_)) ++middleFirst_;
        middleEnd_ = columns;
        while (middleEnd_ > 0 && isRight(middleEnd_ - 1)) --middleEnd_;
        if (middleFirst_ < middleEnd_ && axis_.wholeStep() == 0) middle_.emplace(kernels, middleTaps());
    }

    int columns() const { return columns_; }

    /// At phase 0 the cubic is its second tap.
    static SourceRows sourceRows(const Axis& rowAxis, int y) {
        const int iy = rowAxis.index(y);
        if (rowAxis.phase(y) == 0) return {iy, iy};
        return {iy - 1, iy + 2};
    }

    /// Padding columns of `out` may be written.
    void filter(const SourcePlane& src, int y, int nextY, uint8_t* out) const {
        const uint8_t* const row = src.row(y);
        if (const int step = axis_.wholeStep(); step > 0)
            return decimate<1>(row + index(0), step, out, columns_);
        if (middle_) middle_->filter(row, src.row(nextY), out);
        for (int i = 0; i < std::min(middleFirst_, middleEnd_); ++i) {
            out[i] = cubic(row[0], row[0], row[1], row[2], phase(i));
        }
        for (int i = middleEnd_; i < columns_; ++i) out[i] = rightColumn(row, i);
    }

private:
    int index(int i) const { return axis_.index(firstColumn_ + i); }
    int phase(int i) const { return axis_.phase(firstColumn_ + i); }
    bool isLeft(int i) const { return index(i) == 0; }
    bool isRight(int i) const { return index(i) + 1 >= srcWidth_ - 1; }

    /// Of all columns, so that vectors begin where the strip does: border columns take any taps inside, and
    /// are filtered once more.
    ColumnTaps middleTaps() {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        const int firstTap = index(middleFirst_) - 1;
        const int lastTap = index(middleEnd_ - 1) - 1;
        axis_.walk(firstColumn_, columns_, [&](int index, int columnPhase) {
            *tap++ = static_cast<uint32_t>(std::clamp(index - 1, firstTap, lastTap));
            *phase++ = static_cast<uint8_t>(columnPhase);
        });
        return table_.padded(columns_);
    }

    /// Only in sources of one or two columns the left tap can be before the row.
    uint8_t rightColumn(const uint8_t* row, int i) const {
        const int ix = index(i);
        const int last = srcWidth_ - 1;
        return cubic(row[std::max(ix - 1, firstReadable_)], row[ix], row[std::min(ix + 1, last)],
                     row[std::min(ix + 2, last)], phase(i));
    }

    const Axis& axis_;
    int firstColumn_;
    int columns_;
    int srcWidth_;
    int firstReadable_;
    int middleFirst_ = 0;
    int middleEnd_;
    ColumnTable<MaxColumns> table_;
    std::optional<PlannedColumns<BicubicLumaKernels, BicubicLumaPlan, MaxColumns>> middle_;
};

int scaleRows(const ScaleSliceArgs& args, PositionFormat format, const RowRange& rows) {
    // Only the plain form is 32 bits wide, as phases beyond 31 need.
    const BicubicLumaKernels& kernels = format.phaseBits > 5 ? kBicubicLumaPlain : activeKernels();
    return reduceRows<BicubicLumaColumns>(kernels, format, args, rows);
}

int scaleBand(const ScaleSliceArgs& args, int band) {
    return scaleRows(args, kPosition8192, quarterBand(band, args.dstHeight));
}

}  // namespace

void reduceLuma(const SourcePlane& src, const Target& dst, int dstRows) {
    reduceRows<BicubicLumaColumns>(activeKernels(), kPosition8192, src, dst, dstRows);
}

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
    const BicubicLumaKernels& kernels = activeKernels();
    const uint8_t* const sources[4] = {row0, row1, row2, row3};
    int left = 8 * std::max(groups, 0);
    while (left > 0) {
        const int columns = std::min(left, kStripColumns);
        ColumnTable<> table;
        for (int i = 0; i < columns; ++i) {
            table.tap[i] = static_cast<uint16_t>(*tapX++);
            table.phase[i] = static_cast<uint8_t>(*phaseX++);
        }
        uint8_t filtered[4][kStripColumns];
        filterAnyTaps<BicubicLumaKernels, BicubicLumaPlan>(kernels, table.padded(columns), sources, filtered);
        const uint8_t* const rows[4] = {filtered[0], filtered[1], filtered[2], filtered[3]};
        kernels.blendRows(rows, phaseY, out, columns);
        out += columns;
        left -= columns;
    }
}
