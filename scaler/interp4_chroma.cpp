#include "scaler/interp4_chroma.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <type_traits>

#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/linear.h"
#include "scaler/strips.h"

namespace vantor {
namespace {

const BilinearChromaKernels& chromaKernels() {
    static const BilinearChromaKernels& kernels = bestTable(kBilinearChromaRoundedTables);
    return kernels;
}

/// Where output chroma column or row `i` lies: at the position of luma column or row 2i, taken in 1/64 pair.
struct ChromaPosition {
    int left;
    int right;
    int weight;

    ChromaPosition(const Interp4Axis& axis, int i) {
        const int64_t position = axis.position(2 * i);
        left = static_cast<int>(position >> 6);
        right = left + 1;
        weight = static_cast<int>(position & 63);
        if (!axis.holdsAllTaps()) {
            const int last = std::max(axis.srcSize() / 2 - 1, 0);
            left = std::clamp(left, 0, last);
            right = std::clamp(right, 0, last);
        }
    }
};

/// Consecutive output pairs of the chroma with their positions.
template <int MaxColumns, bool IsPlanar>
class Interp4ChromaStrip {
public:
    using Sample = uint8_t;
    using Weight = int;
    static constexpr int kChannels = 2;
    static constexpr int kTaps = 2;
    static constexpr int kMaxColumns = MaxColumns;
    static constexpr bool kIsPlanar = IsPlanar;

    Interp4ChromaStrip(const BilinearChromaKernels& kernels, const SourcePlane& src,
                       const Interp4Axis& columnAxis, const Interp4Axis& rowAxis, int firstPair, int pairs)
        : kernels_(kernels),
          src_(src),
          planeBytes_((int64_t{columnAxis.srcSize()} * rowAxis.srcSize()) >> 1),
          columnAxis_(columnAxis),
          rowAxis_(rowAxis),
          firstPair_(firstPair),
          pairs_(pairs) {
        if (!columnAxis.holdsAllTaps()) return;
        ColumnTaps elements = taps();
        if constexpr (IsPlanar) elements = planar_.plan(table_, pairs);
        filter_.emplace(kernels, elements);
    }

    int columns() const { return pairs_; }
    int sourceHeight() const { return src_.rows; }

    OutputRow<int> outputRow(int y) const {
        const ChromaPosition position(rowAxis_, y);
        return {{position.left, position.weight == 0 ? position.left : position.right}, position.weight};
    }

    void filterRow(int row, int next, uint8_t* out) const {
        if constexpr (IsPlanar) {
            filterPlanar(row, out);
        } else {
            filterPairs(row, next, out);
        }
    }

    void storeRow(const uint8_t* row, uint8_t* out) const { std::copy_n(row, 2 * pairs_, out); }

    void blendRows(const uint8_t* const rows[], const int* weights, uint8_t* const* outs, int count) const {
        for (int i = 0; i < count; ++i) kernels_.blendRows(rows, weights[i], outs[i], pairs_);
    }

private:
    void filterPairs(int row, int next, uint8_t* out) const {
        if (filter_ && offset(row, table_.tap[pairs_ - 1] + 3) < planeBytes_) {
            filter_->filter(src_.row(row), src_.row(next), out);
        } else {
            for (int i = 0; i < 2 * pairs_; ++i) out[i] = sampleAtPlaneEnd(row, i / 2, i & 1);
        }
    }

    ColumnTaps taps() {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        columnAxis_.walk(2 * firstPair_, pairs_, 2, [&](int64_t position) {
            *tap++ = 2 * static_cast<uint32_t>(position >> 6);
            *phase++ = static_cast<uint8_t>(position & 63);
        });
        return table_.padded(pairs_);
    }

    /// In a plane without gaps.
    int64_t offset(int row, uint32_t byte) const { return row * int64_t{columnAxis_.srcSize()} + byte; }

    /// For rows whose samples may lie past the plane's last byte: there the row above is used instead of this
    /// one, and the left neighbour instead of the right one. A plane too small for any sample is neutral.
    uint8_t sampleAtPlaneEnd(int row, int pair, uint32_t component) const {
        const ChromaPosition position(columnAxis_, firstPair_ + pair);
        const uint32_t left = 2 * static_cast<uint32_t>(position.left) + component;
        const uint32_t right = 2 * static_cast<uint32_t>(position.right) + component;
        while (row > 0 && offset(row, left) >= planeBytes_) --row;
        if (offset(row, left) >= planeBytes_) return 128;
        const uint8_t* samples = src_.row(row);
        return linear<6, 32>(samples[left], samples[offset(row, right) < planeBytes_ ? right : left],
                             position.weight);
    }

    void filterPlanar(int row, uint8_t* out) const {
        if (filter_) {
            typename PlanarPairs<MaxColumns>::Buffer pairs;
            planar_.fetch(src_, row, pairs);
            return filter_->filter(pairs, pairs, out);
        }
        for (int i = 0; i < pairs_; ++i) {
            const ChromaPosition position(columnAxis_, firstPair_ + i);
            const auto value = [&](const uint8_t* plane) {
                return linear<6, 32>(plane[position.left], plane[position.right], position.weight);
            };
            out[2 * i] = value(src_.row(row));
            out[2 * i + 1] = value(src_.vRow(row));
        }
    }

    const BilinearChromaKernels& kernels_;
    const SourcePlane& src_;
    int64_t planeBytes_;
    const Interp4Axis& columnAxis_;
    const Interp4Axis& rowAxis_;
    int firstPair_;
    int pairs_;
    ColumnTable<MaxColumns> table_;
    std::conditional_t<IsPlanar, PlanarPairs<MaxColumns>, NoPlanarPairs> planar_;
    std::optional<PlannedColumns<BilinearChromaKernels, BilinearChromaPlan, MaxColumns>> filter_;
};

}  // namespace

void scaleInterp4Chroma(const SourcePlane& src, const Target& dst, const Interp4Axis& columnAxis,
                        const Interp4Axis& rowAxis) {
    const BilinearChromaKernels& kernels = chromaKernels();
    if (src.v) {
        scaleStrips<Interp4ChromaStrip<kStripColumns, true>, Interp4ChromaStrip<kWideStripColumns, true>>(
            dst, kernels, src, columnAxis, rowAxis);
    } else {
        scaleStrips<Interp4ChromaStrip<kStripColumns, false>, Interp4ChromaStrip<kWideStripColumns, false>>(
            dst, kernels, src, columnAxis, rowAxis);
    }
}

}  // namespace vantor
