#include "scaler/interp4_chroma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_filter.h"
#include "scaler/linear.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"

namespace vantor {
namespace {

const BilinearChromaKernels& pairKernels() {
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
        if (axis.srcSize() < kInterp4Taps) {
            const int last = std::max(axis.srcSize() / 2 - 1, 0);
            left = std::clamp(left, 0, last);
            right = std::clamp(right, 0, last);
        }
    }
};

/// Consecutive output pairs of the chroma with their positions.
class Interp4ChromaStrip {
public:
    Interp4ChromaStrip(const Plane& src, const Interp4Axis& axis, int firstPair, int pairs)
        : src_(src),
          planeBytes_((int64_t{src.width} * src.height) >> 1),
          axis_(axis),
          firstPair_(firstPair),
          pairs_(pairs) {
        if (src.width < kInterp4Taps) return;
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        axis.walk(2 * firstPair, pairs, 2, [&](int64_t position) {
            *tap++ = 2 * static_cast<uint32_t>(position >> 6);
            *phase++ = static_cast<uint8_t>(position & 63);
        });
        columns_.emplace(pairKernels(), table_.padded(pairs));
    }

    int pairs() const { return pairs_; }

    /// With an odd height the last row is not whole.
    int planeRows() const { return (src_.height + 1) / 2; }

    void filter(int row, int next, uint8_t* out) const {
        if (columns_ && offset(row, table_.tap[pairs_ - 1] + 3) < planeBytes_) {
            columns_->filter(src_.row(row), src_.row(next), out);
        } else {
            for (int i = 0; i < 2 * pairs_; ++i) out[i] = sampleAtPlaneEnd(row, i / 2, i & 1);
        }
    }

private:
    int64_t offset(int row, uint32_t byte) const { return int64_t{row} * src_.width + byte; }

    /// For rows whose samples may lie behind the plane's last byte: there the row above stands for this one,
    /// and the left neighbour for the right one. A plane too small for any sample is neutral.
    uint8_t sampleAtPlaneEnd(int row, int pair, uint32_t component) const {
        const ChromaPosition position(axis_, firstPair_ + pair);
        const uint32_t left = 2 * static_cast<uint32_t>(position.left) + component;
        const uint32_t right = 2 * static_cast<uint32_t>(position.right) + component;
        while (row > 0 && offset(row, left) >= planeBytes_) --row;
        if (offset(row, left) >= planeBytes_) return 128;
        const uint8_t* samples = src_.row(row);
        return linear<6, 32>(samples[left], samples[offset(row, right) < planeBytes_ ? right : left],
                             position.weight);
    }

    Plane src_;
    int64_t planeBytes_;
    const Interp4Axis& axis_;
    int firstPair_;
    int pairs_;
    ColumnTable table_;
    std::optional<PlannedColumns<BilinearChromaKernels, BilinearChromaPlan>> columns_;
};

void scaleChromaStrip(const Target& dst, const Interp4ChromaStrip& strip, const Interp4Axis& rowAxis,
                      int firstPair) {
    RowRing<uint8_t, 2, 2 * kStripColumns> ring(strip.planeRows(), false);
    const auto sourceRows = [&](int y) {
        const ChromaPosition position(rowAxis, y);
        return SourceRows{position.left, position.weight == 0 ? position.left : position.right};
    };
    for (int y = dst.firstRow; y < dst.endRow; ++y) {
        uint8_t* const out = dst.row(y) + 2 * std::ptrdiff_t{firstPair};
        const SourceRows rows = sourceRows(y);
        const uint8_t* taps[2];
        ring.fetch(rows, sourceRows(y + 1), taps,
                   [&](int row, int next, uint8_t* filtered) { strip.filter(row, next, filtered); });
        if (rows.first == rows.last) {
            std::copy_n(taps[0], 2 * strip.pairs(), out);
        } else {
            pairKernels().blendRows(taps, ChromaPosition(rowAxis, y).weight, out, strip.pairs());
        }
    }
}

}  // namespace

void scaleInterp4Chroma(const Plane& src, const Target& dst, const Interp4Axis& columnAxis,
                        const Interp4Axis& rowAxis) {
    const int step = stripColumns(dst.endColumn - dst.firstColumn);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        const Interp4ChromaStrip strip(src, columnAxis, x, std::min(step, dst.endColumn - x));
        scaleChromaStrip(dst, strip, rowAxis, x);
    }
}

}  // namespace vantor
