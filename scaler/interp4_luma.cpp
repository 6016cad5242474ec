#include "scaler/interp4_luma.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/planned_columns.h"
#include "scaler/row_ring.h"

namespace vantor {
namespace {

const Interp4Kernels& lumaKernels(const int16_t* coefficients) {
    static const Interp4Kernels& kernels = bestTable(kInterp4Tables);
    return fitBytes(coefficients) ? kernels : kInterp4Plain;
}

/// Consecutive output columns of the luma with their taps and filter rows.
class Interp4Strip {
public:
    Interp4Strip(const Interp4Kernels& kernels, const Interp4Axis& axis, int firstColumn, int columns,
                 const int16_t* coefficients)
        : srcWidth_(axis.srcSize()), columns_(kernels, taps(axis, firstColumn, columns), coefficients) {}

    void filter(const uint8_t* row, const uint8_t* next, int16_t* out) const {
        uint8_t padded[2 * kPadding];
        if (isNarrow()) {
            for (int i = 0; i < 2 * kPadding; ++i)
                padded[i] = row[std::clamp(i - kPadding, 0, srcWidth_ - 1)];
            row = padded;
        }
        columns_.filter(row, next, out);
    }

private:
    /// The taps of a narrow source lie between this many columns before its first and two behind it.
    static constexpr int kPadding = 3;

    bool isNarrow() const { return srcWidth_ < kInterp4Taps; }

    ColumnTaps taps(const Interp4Axis& axis, int firstColumn, int columns) {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        const int offset = isNarrow() ? kPadding - 1 : -1;
        axis.walk(firstColumn, columns, 1, [&](int64_t position) {
            *tap++ = static_cast<uint32_t>((position >> 5) + offset);
            *phase++ = static_cast<uint8_t>(position & 31);
        });
        return table_.padded(columns);
    }

    int srcWidth_;
    ColumnTable table_;
    PlannedColumns<Interp4Kernels, Interp4Plan> columns_;
};

/// As at phase 0 of the scaler's own filter.
bool isSecondTapOnly(const int16_t* weights) {
    return weights[0] == 0 && weights[1] == 4096 && weights[2] == 0 && weights[3] == 0;
}

void scaleLumaStrip(const Interp4Kernels& kernels, const Plane& src, const Target& dst,
                    const int16_t* coefficients, const Interp4Strip& strip, const Interp4Axis& rowAxis,
                    int firstColumn, int columns) {
    RowRing<int16_t, 4, kInterp4Columns> ring(src.height, false);
    const auto weights = [&](int y) { return coefficients + kInterp4Taps * (rowAxis.position(y) & 31); };
    const auto sourceRows = [&](int y) {
        const int i = static_cast<int>(rowAxis.position(y) >> 5);
        return isSecondTapOnly(weights(y)) ? SourceRows{i, i} : SourceRows{i - 1, i + 2};
    };
    for (int y = dst.firstRow; y < dst.endRow; ++y) {
        uint8_t* const out = dst.row(y) + firstColumn;
        const SourceRows rows = sourceRows(y);
        const int16_t* taps[kInterp4Taps];
        ring.fetch(rows, sourceRows(y + 1), taps, [&](int row, int next, int16_t* filtered) {
            strip.filter(src.row(row), src.row(next), filtered);
        });
        if (rows.first == rows.last) {
            kernels.roundRow(taps[0], out, columns);
        } else {
            kernels.blendRows(taps, weights(y), out, columns);
        }
    }
}

}  // namespace

void scaleInterp4Luma(const Plane& src, const Target& dst, const int16_t* coefficients,
                      const Interp4Axis& columnAxis, const Interp4Axis& rowAxis) {
    const Interp4Kernels& kernels = lumaKernels(coefficients);
    const int step = stripColumns(dst.endColumn - dst.firstColumn, kInterp4Columns);
    for (int x = dst.firstColumn; x < dst.endColumn; x += step) {
        const int columns = std::min(step, dst.endColumn - x);
        const Interp4Strip strip(kernels, columnAxis, x, columns, coefficients);
        scaleLumaStrip(kernels, src, dst, coefficients, strip, rowAxis, x, columns);
    }
}

}  // namespace vantor
