// How a plane is scaled: strip by strip of columns, source rows are filtered across, then blended down.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

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
        uint8_t* const out = dst.row(dst.rows.row(i)) + Strip::kChannels * std::ptrdiff_t{firstColumn};
        if (row.sources.first == row.sources.last) {
            strip.storeRow(taps[0], out);
        } else {
            strip.blendRows(taps, row.weight, out);
        }
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
