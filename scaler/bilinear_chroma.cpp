#include "scaler/bilinear_chroma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scaler/axis.h"
#include "scaler/bands.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/row_ring.h"
#include "scaler/slice_args.h"

namespace vantor {
namespace {

const ChromaKernels& activeKernels() {
    static const ChromaKernels& kernels = bestTable(kChromaTables);
    return kernels;
}

/// Consecutive output pairs with their positions. The last of them may be right pairs, which lie on or behind
/// the last source pair and have no right neighbour.
class ChromaStrip {
public:
    ChromaStrip(const Axis& axis, int firstPair, int pairs, int srcPairs) : pairs_(pairs) {
        for (int i = 0; i < pairs; ++i) {
            const int ix = axis.index(firstPair + i);
            phase_[i] = static_cast<uint8_t>(axis.phase(firstPair + i));
            tap_[i] = 2 * static_cast<uint32_t>(ix);
            if (ix + 1 < srcPairs) ++interior_;
        }
    }

    int pairs() const { return pairs_; }

    void filter(const ChromaKernels& kernels, const uint8_t* row, uint8_t* out) const {
        kernels.filterRow(row, tap_, phase_, out, interior_);
        for (int i = interior_; i < pairs_; ++i) {
            out[2 * i] = row[tap_[i]];
            out[2 * i + 1] = row[tap_[i] + 1];
        }
    }

private:
    int pairs_;
    int interior_ = 0;
    uint32_t tap_[kStripColumns];
    uint8_t phase_[kStripColumns];
};

void scaleStrip(const ScaleSliceArgs& args, const ChromaStrip& strip, const Axis& rowAxis,
                const RowRange& rows, uint8_t* dst) {
    const ChromaKernels& kernels = activeKernels();
    RowRing<uint8_t, 2, 2 * kStripColumns> ring;
    const auto filtered = [&](int srcRow) {
        return ring.row(std::min(srcRow, args.srcHeight - 1), [&](int index, uint8_t* out) {
            strip.filter(kernels, args.src + std::ptrdiff_t{index} * args.srcStride, out);
        });
    };
    for (int i = 0; i < rows.count; ++i) {
        const int y = rows.row(i);
        const int iy = rowAxis.index(y);
        const uint8_t* const row0 = filtered(iy);
        const uint8_t* const row1 = filtered(iy + 1);
        kernels.blendRows(row0, row1, rowAxis.phase(y), dst + std::ptrdiff_t{y} * args.dstStride,
                          strip.pairs());
    }
}

int scaleBand(const ScaleSliceArgs& args, int band) {
    if (args.srcWidth <= 0 || args.srcHeight <= 0 || args.dstWidth <= 0 || args.dstHeight <= 0) return 0;
    const RowRange rows = quarterBand(band, args.dstHeight);
    const Axis pairAxis(args.srcWidth, args.dstWidth, kPosition8192);
    const Axis rowAxis(args.srcHeight, args.dstHeight, kPosition8192);
    for (int x = 0; x < args.dstWidth; x += kStripColumns) {
        const ChromaStrip strip(pairAxis, x, std::min(kStripColumns, args.dstWidth - x), args.srcWidth);
        scaleStrip(args, strip, rowAxis, rows, args.dst + 2 * std::ptrdiff_t{x});
    }
    return 0;
}

}  // namespace
}  // namespace vantor

using namespace vantor;

int interpolateBLUV_neon_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 1);
}

int interpolateBLUV_neon_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 2);
}

int interpolateBLUV_neon_3(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 3);
}

int interpolateBLUV_neon_4(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride) {
    return scaleBand({src, dst, srcWidth, srcHeight, srcStride, dstWidth, dstHeight, dstStride}, 4);
}

void bilinear_neon(const unsigned char* phaseX, int groups, const unsigned int* tapX,
                   const unsigned char* row0, const unsigned char* row1, unsigned char* out, int phaseY) {
    constexpr int kLanes = 8;
    const ChromaKernels& kernels = activeKernels();
    for (int group = 0; group < groups; ++group) {
        uint8_t filtered[2][2 * kLanes];
        kernels.filterRow(row0, tapX, phaseX, filtered[0], kLanes);
        kernels.filterRow(row1, tapX, phaseX, filtered[1], kLanes);
        kernels.blendRows(filtered[0], filtered[1], phaseY, out, kLanes);
        tapX += kLanes;
        phaseX += kLanes;
        out += 2 * kLanes;
    }
}
