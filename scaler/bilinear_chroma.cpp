#include "scaler/bilinear_chroma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "scaler/axis.h"
#include "scaler/bands.h"
#include "scaler/bilinear_pairs_kernels.h"
#include "scaler/decimate.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"
#include "scaler/slice_args.h"

namespace vantor {
namespace {

const PairKernels& activeKernels() {
    static const PairKernels& kernels = bestTable(kCutPairsTables);
    return kernels;
}

constexpr uint8_t kRightOnly = 32;  // the weight of a right neighbour that stands alone

/// Consecutive output pairs with their positions.
class ChromaStrip {
public:
    ChromaStrip(const Axis& axis, int firstPair, int pairs, int srcPairs)
        : axis_(axis), firstPair_(firstPair), pairs_(pairs) {
        if (srcPairs >= 2 && axis_.wholeStep() == 0) columns_.emplace(activeKernels(), taps(srcPairs));
    }

    int pairs() const { return pairs_; }

    /// Padding pairs of `out` may be written.
    void filter(const uint8_t* row, const uint8_t* next, uint8_t* out) const {
        if (const int step = axis_.wholeStep(); step > 0) {
            return decimate<2>(row + 2 * std::ptrdiff_t{axis_.index(firstPair_)}, step, out, pairs_);
        }
        if (columns_) return columns_->filter(row, next, out);
        for (int i = 0; i < pairs_; ++i) std::copy_n(row, 2, out + 2 * i);
    }

private:
    /// Right pairs, which lie on or behind the last source pair and have no right neighbour, are taken as
    /// the right neighbour of the pair before.
    ColumnTaps taps(int srcPairs) {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        const int lastLeft = srcPairs - 2;
        axis_.walk(firstPair_, pairs_, [&](int index, int pairPhase) {
            *tap++ = 2 * static_cast<uint32_t>(std::min(index, lastLeft));
            *phase++ = index > lastLeft ? kRightOnly : static_cast<uint8_t>(pairPhase);
        });
        return table_.padded(pairs_);
    }

    const Axis& axis_;
    int firstPair_;
    int pairs_;
    ColumnTable table_;
    std::optional<PlannedColumns<PairKernels, PairPlan>> columns_;
};

SourceRows sourceRows(const Axis& rowAxis, int y) {
    const int iy = rowAxis.index(y);
    return {iy, rowAxis.phase(y) == 0 ? iy : iy + 1};
}

void scaleStrip(const ScaleSliceArgs& args, const ChromaStrip& strip, const Axis& rowAxis,
                const RowRange& rows, uint8_t* dst) {
    RowRing<uint8_t, 2, 2 * kStripColumns> ring(args.srcHeight, rows.upward);
    const auto source = [&](int row) { return args.src + std::ptrdiff_t{row} * args.srcStride; };
    const auto filter = [&](int row, int next, uint8_t* out) {
        strip.filter(source(row), source(next), out);
    };
    for (int i = 0; i < rows.count; ++i) {
        const int y = rows.row(i);
        uint8_t* const out = dst + std::ptrdiff_t{y} * args.dstStride;
        const uint8_t* taps[2];
        ring.fetch(sourceRows(rowAxis, y), sourceRows(rowAxis, rows.row(i + 1)), taps, filter);
        if (rowAxis.phase(y) == 0) {
            std::copy_n(taps[0], 2 * strip.pairs(), out);
        } else {
            activeKernels().blendRows(taps, rowAxis.phase(y), out, strip.pairs());
        }
    }
}

int scaleBand(const ScaleSliceArgs& args, int band) {
    if (args.srcWidth <= 0 || args.srcHeight <= 0 || args.dstWidth <= 0 || args.dstHeight <= 0) return 0;
    const RowRange rows = quarterBand(band, args.dstHeight);
    const Axis pairAxis(args.srcWidth, args.dstWidth, kPosition8192);
    const Axis rowAxis(args.srcHeight, args.dstHeight, kPosition8192);
    if (pairAxis.wholeStep() > 0 && rowAxis.wholeStep() > 0) {
        decimateRows<2>(args, rows, pairAxis.wholeStep(), rowAxis.wholeStep());
        return 0;
    }
    const int step = stripColumns(args.dstWidth);
    for (int x = 0; x < args.dstWidth; x += step) {
        const ChromaStrip strip(pairAxis, x, std::min(step, args.dstWidth - x), args.srcWidth);
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
    const PairKernels& kernels = activeKernels();
    const uint8_t* const sources[2] = {row0, row1};
    int left = 8 * std::max(groups, 0);
    while (left > 0) {
        const int pairs = std::min(left, kStripColumns);
        ColumnTable table;
        std::copy_n(tapX, pairs, table.tap);
        std::copy_n(phaseX, pairs, table.phase);
        uint8_t filtered[2][2 * kStripColumns];
        filterAnyTaps<PairKernels, PairPlan>(kernels, table.padded(pairs), sources, filtered);
        const uint8_t* const rows[2] = {filtered[0], filtered[1]};
        kernels.blendRows(rows, phaseY, out, pairs);
        tapX += pairs;
        phaseX += pairs;
        out += 2 * pairs;
        left -= pairs;
    }
}
