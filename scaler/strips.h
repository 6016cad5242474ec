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

/// Output rows that are blended together: as many as kernels do at a time.
constexpr int kMaxSharingRows = 3;

/// Writes one strip, which begins at column `firstColumn` of the destination.
template <typename Strip>
void scaleStrip(const Strip& strip, int firstColumn, const Target& dst) {
    using Sample = typename Strip::Sample;
    using Weight = typename Strip::Weight;
    RowRing<Sample, Strip::kTaps, Strip::kChannels * Strip::kMaxColumns> ring(strip.sourceHeight(),
                                                                              dst.rows.upward);
    const auto filter = [&](int row, int next, Sample* out) { strip.filterRow(row, next, out); };
    // Chroma of two planes is made as pairs, row by row.
    uint8_t pairs[Strip::kIsPlanar ? 2 * Strip::kMaxColumns : 1];
    constexpr int kMost = Strip::kIsPlanar ? 1 : kMaxSharingRows;
    OutputRow<Weight> next = strip.outputRow(dst.rows.row(0));
    for (int i = 0; i < dst.rows.count;) {
        const SourceRows sources = next.sources;
        const int y = dst.rows.row(i);
        Weight weights[kMaxSharingRows];
        uint8_t* outs[kMaxSharingRows];
        int count = 0;
        do {
            weights[count] = next.weight;
            outs[count++] = Strip::kIsPlanar
                                ? pairs
                                : dst.row(dst.rows.row(i)) + Strip::kChannels * std::ptrdiff_t{firstColumn};
            next = strip.outputRow(dst.rows.row(++i));
        } while (count < kMost && i < dst.rows.count && next.sources == sources);
        const Sample* taps[Strip::kTaps];
        ring.fetch(sources, next.sources, taps, filter);
        if (sources.first == sources.last) {
            for (int k = 0; k < count; ++k) strip.storeRow(taps[0], outs[k]);
        } else {
            strip.blendRows(taps, weights, outs, count);
        }
        if constexpr (Strip::kIsPlanar) {
            splitPairs(pairs, strip.columns(), dst.row(y) + firstColumn, dst.vRow(y) + firstColumn);
        }
    }
}

/// Not inlined: a caller with little stack takes no more of it than its own strips need.
template <typename Strip, typename... Source>
[[gnu::noinline]] void scaleStripsOf(const Target& dst, const Source&... source) {
    const int step = stripColumns(dst.endColumn - dst.firstColumn, Strip::kMaxColumns);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        scaleStrip(Strip(source..., x, std::min(step, dst.endColumn - x)), x, dst);
    }
}

/// Writes all of `dst`. A strip, made of `source` and the numbers of its first column and of its columns,
/// has `kChannels` bytes per column and at most `kMaxColumns` columns. It filters its columns of a source row
/// to a row of `Sample`s, knows which source rows, at most `kTaps`, an output row is made of, and makes it:
/// blended of several filtered rows, by its `Weight`, or stored where there is only one. Output rows of the
/// same source rows are blended together. Wide strips are for deep stacks. Planar ones have U and V in planes
/// of their own: a type apart, as the others have no stack to spare for their buffers.
template <typename Strip, typename WideStrip, typename... Source>
void scaleStrips(const Target& dst, const Source&... source) {
    if (dst.isStackDeep && dst.endColumn - dst.firstColumn > Strip::kMaxColumns) {
        scaleStripsOf<WideStrip>(dst, source...);
    } else {
        scaleStripsOf<Strip>(dst, source...);
    }
}

}  // namespace vantor
