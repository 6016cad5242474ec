// How a plane is scaled: strip by strip of columns, source rows are filtered across, then blended down.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scaler/planar_chroma.h"
#include "scaler/planes.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"

namespace vantor {

/// Columns of each strip but the last of a row of `width`: strips are about as wide as one another, so that
/// the last is not left with a few columns.
inline int stripColumns(int width, int maxColumns) {
    const int strips = std::max((width + maxColumns - 1) / maxColumns, 1);
    return paddedColumns((width + strips - 1) / strips);
}

/// What an output row is made of. `Weight` says how several source rows are blended.
template <typename Weight>
struct OutputRow {
    SourceRows sources;
    Weight weight;
};

/// Where a strip's part of an output row is made: in its place, or, for chroma in two planes, as pairs that
/// are split afterwards.
template <typename Strip>
class StripOutput {
public:
    StripOutput(const Strip& strip, const Target& dst, int y, int firstColumn)
        : columns_(strip.columns()),
          row_(dst.row(y) + firstColumn),
          v_(dst.v ? dst.vRow(y) + firstColumn : nullptr) {
        if (!v_) row_ += (Strip::kChannels - 1) * std::ptrdiff_t{firstColumn};
    }

    uint8_t* row() const { return v_ ? pairs_ : row_; }
    void finish() const {
        if (v_) splitPairs(pairs_, columns_, row_, v_);
    }

private:
    int columns_;
    uint8_t* row_;
    uint8_t* v_;
    mutable uint8_t pairs_[Strip::kChannels == 2 ? 2 * Strip::kMaxColumns : 1];
};

/// Writes one strip, which begins at column `firstColumn` of the destination.
template <typename Strip>
void scaleStrip(const Strip& strip, int firstColumn, const Target& dst) {
    using Sample = typename Strip::Sample;
    RowRing<Sample, Strip::kTaps, Strip::kChannels * Strip::kMaxColumns> ring(strip.sourceHeight(),
                                                                              dst.rows.upward);
    const auto filter = [&](int row, int next, Sample* out) { strip.filterRow(row, next, out); };
    auto next = strip.outputRow(dst.rows.row(0));
    for (int i = 0; i < dst.rows.count; ++i) {
        const auto row = next;
        next = strip.outputRow(dst.rows.row(i + 1));
        const Sample* taps[Strip::kTaps];
        ring.fetch(row.sources, next.sources, taps, filter);
        const StripOutput<Strip> output(strip, dst, dst.rows.row(i), firstColumn);
        if (row.sources.first == row.sources.last) {
            strip.storeRow(taps[0], output.row());
        } else {
            strip.blendRows(taps, row.weight, output.row());
        }
        output.finish();
    }
}

/// Writes all of `dst`. A `Strip`, made of `source` and the numbers of its first column and of its columns,
/// has `kChannels` bytes per column and at most `kMaxColumns` columns. It filters its columns of a source row
/// to a row of `Sample`s, knows which source rows, at most `kTaps`, an output row is made of, and makes it:
/// blended of several filtered rows, or stored where there is only one.
template <typename Strip, typename... Source>
void scaleStrips(const Target& dst, const Source&... source) {
    const int step = stripColumns(dst.endColumn - dst.firstColumn, Strip::kMaxColumns);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        scaleStrip(Strip(source..., x, std::min(step, dst.endColumn - x)), x, dst);
    }
}

}  // namespace vantor
