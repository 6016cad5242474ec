#include "scaler/interp4_luma.h"

#include <algorithm>
#include <cstdint>

#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"
#include "scaler/strips.h"

namespace vantor {
namespace {

const Interp4Kernels& lumaKernels(const int16_t* coefficients) {
    static const Interp4Kernels& kernels = bestTable(kInterp4Tables);
    return fitBytes(coefficients) ? kernels : kInterp4Plain;
}

/// As at phase 0 of makeInterp4Filter().
bool isSecondTapOnly(const int16_t* weights) {
    return weights[0] == 0 && weights[1] == 4096 && weights[2] == 0 && weights[3] == 0;
}

/// Consecutive output columns of the luma with their taps and filter rows.
template <int MaxColumns>
class Interp4LumaStrip {
public:
    using Sample = int16_t;
    using Weight = const int16_t*;
    static constexpr int kChannels = 1;
    static constexpr bool kIsPlanar = false;
    static constexpr int kTaps = kInterp4Taps;
    static constexpr int kMaxColumns = MaxColumns;

    Interp4LumaStrip(const Interp4Kernels& kernels, const SourcePlane& src, const int16_t* coefficients,
                     const Interp4Axis& columnAxis, const Interp4Axis& rowAxis, int firstColumn, int columns)
        : kernels_(kernels),
          src_(src),
          coefficients_(coefficients),
          columnAxis_(columnAxis),
          rowAxis_(rowAxis),
          columns_(columns),
          filter_(kernels, taps(firstColumn), coefficients) {}

    int columns() const { return columns_; }
    int sourceHeight() const { return src_.rows; }

    OutputRow<Weight> outputRow(int y) const {
        const int64_t position = rowAxis_.position(y);
        const int i = static_cast<int>(position >> 5);
        const int16_t* weights = coefficients_ + kTaps * (position & 31);
        if (isSecondTapOnly(weights)) return {{i, i}, weights};
        return {{i - 1, i + 2}, weights};
    }

    void filterRow(int y, int nextY, int16_t* out) const {
        const uint8_t* row = src_.row(y);
        uint8_t padded[2 * kPadding];
        if (!columnAxis_.holdsAllTaps()) {
            for (int i = 0; i < 2 * kPadding; ++i)
                padded[i] = row[std::clamp(i - kPadding, 0, columnAxis_.srcSize() - 1)];
            row = padded;
        }
        filter_.filter(row, src_.row(nextY), out);
    }

    void storeRow(const int16_t* row, uint8_t* out) const { kernels_.roundRow(row, out, columns_); }

    void blendRows(const int16_t* const rows[], const Weight* weights, uint8_t* const* outs,
                   int count) const {
        kernels_.blendRows(rows, weights, outs, count, columns_);
    }

private:
    /// The taps of a narrow source lie between this many columns before its first and two after it.
    static constexpr int kPadding = 3;

    ColumnTaps taps(int firstColumn) {
        uint32_t* tap = table_.tap;
        uint8_t* phase = table_.phase;
        const int offset = columnAxis_.holdsAllTaps() ? -1 : kPadding - 1;
        columnAxis_.walk(firstColumn, columns_, 1, [&](int64_t position) {
            *tap++ = static_cast<uint32_t>((position >> 5) + offset);
            *phase++ = static_cast<uint8_t>(position & 31);
        });
        return table_.padded(columns_);
    }

    const Interp4Kernels& kernels_;
    const SourcePlane& src_;
    const int16_t* coefficients_;
    const Interp4Axis& columnAxis_;
    const Interp4Axis& rowAxis_;
    int columns_;
    ColumnTable<MaxColumns> table_;
    PlannedColumns<Interp4Kernels, Interp4Plan, MaxColumns> filter_;
};

}  // namespace

void scaleInterp4Luma(const SourcePlane& src, const Target& dst, const int16_t* coefficients,
                      const Interp4Axis& columnAxis, const Interp4Axis& rowAxis) {
    scaleStrips<Interp4LumaStrip<kInterp4Columns>, Interp4LumaStrip<kWideStripColumns>>(
        dst, lumaKernels(coefficients), src, coefficients, columnAxis, rowAxis);
}

}  // namespace vantor
