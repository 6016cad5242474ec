#include "scaler/bilinear_chroma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "scaler/bands.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/picture_scale.h"
#include "scaler/planar_chroma.h"
#include "scaler/reduce_rows.h"

namespace vantor {
namespace {

const BilinearChromaKernels& activeKernels() {
    static const BilinearChromaKernels& kernels = bestTable(kBilinearChromaTruncatedTables);
    return kernels;
}

constexpr uint8_t kRightOnly = 32;  // the weight of a right neighbour alone

/// Consecutive output pairs with their positions.
template <int MaxColumns, bool IsPlanar>
class BilinearChromaColumns {
public:
    using Kernels = BilinearChromaKernels;
    static constexpr int kChannels = 2;
    static constexpr int kMaxColumns = MaxColumns;
    static constexpr bool kIsPlanar = IsPlanar;
    static constexpr int kTaps = 2;

    BilinearChromaColumns(const Kernels& kernels, const Axis& axis, int firstPair, int pairs,
                          const SourcePlane& src)
        : axis_(axis), firstPair_(firstPair), pairs_(pairs) {
        if (src.columns < 2 || axis_.wholeStep() > 0) return;
        ColumnTaps elements = taps(src.columns);
        if constexpr (IsPlanar) elements = planar_.plan(table_, pairs);
        filter_.emplace(kernels, elements);
    }

    int columns() const { return pairs_; }

    static SourceRows sourceRows(const Axis& rowAxis, int y) {
        const int iy = rowAxis.index(y);
        return {iy, rowAxis.phase(y) == 0 ? iy : iy + 1};
    }

    /// Padding pairs of `out` may be written.
    void filter(const SourcePlane& src, int row, int next, uint8_t* out) const {
        if constexpr (IsPlanar) {
            filterPlanar(src, row, out);
        } else {
            filterPairs(src.row(row), src.row(next), out);
        }
    }

private:
    /// Right pairs, which lie on or after the last source pair and have no right neighbour, are taken as
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

    void filterPairs(const uint8_t* row, const uint8_t* next, uint8_t* out) const {
        if (const int step = axis_.wholeStep(); step > 0) {
            return decimate<2>(row + 2 * std::ptrdiff_t{axis_.index(firstPair_)}, step, out, pairs_);
        }
        if (filter_) return filter_->filter(row, next, out);
        for (int i = 0; i < pairs_; ++i) std::copy_n(row, 2, out + 2 * i);
    }

    void filterPlanar(const SourcePlane& src, int row, uint8_t* out) const {
        if (!filter_) {
            const uint8_t* const u = src.row(row);
            const uint8_t* const v = src.vRow(row);
            for (int i = 0; i < pairs_; ++i) {
                const int index = src.columns < 2 ? 0 : axis_.index(firstPair_ + i);
                out[2 * i] = u[index];
                out[2 * i + 1] = v[index];
            }
            return;
        }
        typename PlanarPairs<MaxColumns>::Buffer pairs;
        planar_.fetch(src, row, pairs);
        filter_->filter(pairs, pairs, out);
    }

    const Axis& axis_;
    int firstPair_;
    int pairs_;
    ColumnTable<MaxColumns> table_;
    std::conditional_t<IsPlanar, PlanarPairs<MaxColumns>, NoPlanarPairs> planar_;
    std::optional<PlannedColumns<BilinearChromaKernels, BilinearChromaPlan, MaxColumns>> filter_;
};

template <int MaxColumns>
using PairColumns = BilinearChromaColumns<MaxColumns, false>;
template <int MaxColumns>
using PlanarColumns = BilinearChromaColumns<MaxColumns, true>;

int scaleBand(const ScaleSliceArgs& args, int band) {
    return reduceRows<PairColumns>(activeKernels(), kPosition8192, args, quarterBand(band, args.dstHeight));
}

}  // namespace

void reduceChroma(const SourcePlane& src, const Target& dst, int dstRows) {
    if (src.v) return reduceRows<PlanarColumns>(activeKernels(), kPosition8192, src, dst, dstRows);
    reduceRows<PairColumns>(activeKernels(), kPosition8192, src, dst, dstRows);
}

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
    const BilinearChromaKernels& kernels = activeKernels();
    const uint8_t* const sources[2] = {row0, row1};
    int left = 8 * std::max(groups, 0);
    while (left > 0) {
        const int pairs = std::min(left, kStripColumns);
        ColumnTable<> table;
        std::copy_n(tapX, pairs, table.tap);
        std::copy_n(phaseX, pairs, table.phase);
        uint8_t filtered[2][2 * kStripColumns];
        filterAnyTaps<BilinearChromaKernels, BilinearChromaPlan>(kernels, table.padded(pairs), sources,
                                                                 filtered);
        const uint8_t* const rows[2] = {filtered[0], filtered[1]};
        kernels.blendRows(rows, phaseY, out, pairs);
        tapX += pairs;
        phaseX += pairs;
        out += 2 * pairs;
        left -= pairs;
    }
}
