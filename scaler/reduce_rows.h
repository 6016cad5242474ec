// How a plane is reduced: columns of source rows are filtered first, strip by strip, then rows of those.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scaler/axis.h"
#include "scaler/bands.h"
#include "scaler/decimate.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"
#include "scaler/slice_args.h"

namespace vantor {

/// Rows of one strip: consecutive output columns of `Strip::kChannels` bytes each, which begin at `dst` in
/// every row. A strip filters the columns of a source row, and knows which of `Strip::kTaps` source rows an
/// output row is made of. At phase 0 that is one row.
template <typename Strip, typename Kernels>
void reduceStrip(const ScaleSliceArgs& args, const Kernels& kernels, const Strip& strip, const Axis& rowAxis,
                 const RowRange& rows, uint8_t* dst) {
    RowRing<uint8_t, Strip::kTaps, Strip::kChannels * kStripColumns> ring(args.srcHeight, rows.upward);
    const auto source = [&](int row) { return args.src + std::ptrdiff_t{row} * args.srcStride; };
    const auto filter = [&](int row, int next, uint8_t* out) {
        strip.filter(source(row), source(next), out);
    };
    for (int i = 0; i < rows.count; ++i) {
        const int y = rows.row(i);
        uint8_t* const out = dst + std::ptrdiff_t{y} * args.dstStride;
        const uint8_t* taps[Strip::kTaps];
        ring.fetch(Strip::sourceRows(rowAxis, y), Strip::sourceRows(rowAxis, rows.row(i + 1)), taps, filter);
        if (rowAxis.phase(y) == 0) {
            std::copy_n(taps[0], Strip::kChannels * strip.columns(), out);
        } else {
            kernels.blendRows(taps, rowAxis.phase(y), out, strip.columns());
        }
    }
}

/// Rows of a plane, or nothing where a size is zero or less. Returns 0.
template <typename Strip, typename Kernels>
int reduceRows(const ScaleSliceArgs& args, const Kernels& kernels, PositionFormat format,
               const RowRange& rows) {
    if (args.srcWidth <= 0 || args.srcHeight <= 0 || args.dstWidth <= 0 || args.dstHeight <= 0) return 0;
    const Axis columnAxis(args.srcWidth, args.dstWidth, format);
    const Axis rowAxis(args.srcHeight, args.dstHeight, format);
    if (columnAxis.wholeStep() > 0 && rowAxis.wholeStep() > 0) {
        decimateRows<Strip::kChannels>(args, rows, columnAxis.wholeStep(), rowAxis.wholeStep());
        return 0;
    }
    const int step = stripColumns(args.dstWidth);
    for (int x = 0; x < args.dstWidth; x += step) {
        const Strip strip(kernels, columnAxis, x, std::min(step, args.dstWidth - x), args.srcWidth);
        reduceStrip(args, kernels, strip, rowAxis, rows, args.dst + Strip::kChannels * std::ptrdiff_t{x});
    }
    return 0;
}

}  // namespace vantor
