#include <algorithm>

#include "scaler/interp4_filter.h"
#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

bool plan(const ColumnTaps& taps, const int16_t* coefficients, Interp4Plan& plan) {
    plan.taps = taps;
    plan.coefficients = coefficients;
    return true;
}

void filterRow(const Interp4Plan& plan, const uint8_t* row, const uint8_t* /*next*/, int16_t* out) {
    const ColumnTaps& taps = plan.taps;
    for (int i = 0; i < taps.columns; ++i) {
        out[i] = interp4Across(row + taps.tap[i], plan.coefficients + 4 * taps.phase[i]);
    }
}

void blendRow(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        out[i] = interp4Down(rows[0][i], rows[1][i], rows[2][i], rows[3][i], weights);
    }
}

void blendRows(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs, int count,
               int columns) {
    for (int i = 0; i < count; ++i) blendRow(rows, weights[i], outs[i], columns);
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) out[i] = static_cast<uint8_t>(std::clamp((row[i] + 8) >> 4, 0, 255));
}

}  // namespace

const Interp4Kernels kInterp4Plain = {InstructionSet::Plain, plan, filterRow, blendRows, roundRow};

}  // namespace vantor
