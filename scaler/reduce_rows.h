// How a plane is reduced.
#pragma once

#include <algorithm>
#include <cstdint>

#include "scaler/axis.h"
#include "scaler/decimate.h"
#include "scaler/slice_args.h"
#include "scaler/strips.h"

namespace vantor {

/// `Columns` filters the columns of a source row, and knows which source rows an output row is made of: at
/// phase 0 one.
template <typename Columns>
class ReducedStrip {
public:
    using Sample = uint8_t;
    using Weight = int;
    using Kernels = typename Columns::Kernels;
    static constexpr int kChannels = Columns::kChannels;
    static constexpr int kTaps = Columns::kTaps;
    static constexpr int kMaxColumns = Columns::kMaxColumns;
    static constexpr bool kIsPlanar = Columns::kIsPlanar;

    ReducedStrip(const Kernels& kernels, const SourcePlane& src, const Axis& columnAxis, const Axis& rowAxis,
                 int firstColumn, int columns)
        : kernels_(kernels),
          src_(src),
          rowAxis_(rowAxis),
          columns_(kernels, columnAxis, firstColumn, columns, src) {}

    int columns() const { return columns_.columns(); }
    int sourceHeight() const { return src_.rows; }
    OutputRow<int> outputRow(int y) const { return {Columns::sourceRows(rowAxis_, y), rowAxis_.phase(y)}; }

    void filterRow(int row, int next, uint8_t* out) const { columns_.filter(src_, row, next, out); }
    void storeRow(const uint8_t* row, uint8_t* out) const {
        std::copy_n(row, kChannels * columns_.columns(), out);
    }
    void blendRows(const uint8_t* const rows[], const int* phases, uint8_t* const* outs, int count) const {
        for (int i = 0; i < count; ++i) kernels_.blendRows(rows, phases[i], outs[i], columns_.columns());
    }

private:
    const Kernels& kernels_;
    const SourcePlane& src_;
    const Axis& rowAxis_;
    Columns columns_;
};

template <template <int> class Columns>
using KernelsOf = typename Columns<kStripColumns>::Kernels;

/// Writes `dst`, which has all columns of a plane of `dstRows` rows.
template <template <int> class Columns>
void reduceRows(const KernelsOf<Columns>& kernels, PositionFormat format, const SourcePlane& src,
                const Target& dst, int dstRows) {
    const Axis columnAxis(src.columns, dst.endColumn, format);
    const Axis rowAxis(src.rows, dstRows, format);
    const int columnStep = columnAxis.wholeStep();
    const int rowStep = rowAxis.wholeStep();
    if (columnStep > 0 && rowStep > 0) {
        if constexpr (Columns<kStripColumns>::kIsPlanar) {
            decimateRows<1>(src, dst, columnStep, rowStep);
            decimateRows<1>(src.onlyV(), dst.onlyV(), columnStep, rowStep);
        } else {
            decimateRows<Columns<kStripColumns>::kChannels>(src, dst, columnStep, rowStep);
        }
    } else {
        scaleStrips<ReducedStrip<Columns<kStripColumns>>, ReducedStrip<Columns<kWideStripColumns>>>(
            dst, kernels, src, columnAxis, rowAxis);
    }
}

/// The same for the device's entries: nothing where a size is zero or less. Returns 0.
template <template <int> class Columns>
int reduceRows(const KernelsOf<Columns>& kernels, PositionFormat format, const ScaleSliceArgs& args,
               const RowRange& rows) {
    if (args.srcWidth <= 0 || args.srcHeight <= 0 || args.dstWidth <= 0 || args.dstHeight <= 0) return 0;
    reduceRows<Columns>(kernels, format, {args.src, args.srcStride, args.srcWidth, args.srcHeight, -1},
                        {args.dst, args.dstStride, 0, args.dstWidth, rows}, args.dstHeight);
    return 0;
}

}  // namespace vantor
