#include <algorithm>

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
        const uint8_t* s = row + taps.tap[i];
        const int16_t* w = plan.coefficients + 4 * taps.phase[i];
        const int sum = w[0] * s[0] + w[1] * s[1] + w[2] * s[2] + w[3] * s[3];
        out[i] = static_cast<int16_t>(std::clamp((sum + 128) >> 8, INT16_MIN, INT16_MAX));
    }
}

uint32_t product(int a, int b) {
    return static_cast<uint32_t>(a * b);
}

/// Arbitrary weights may overflow 32 bits.
uint32_t wrappedSum(const int16_t* const rows[4], const int16_t* weights, int i) {
    return product(weights[0], rows[0][i]) + product(weights[1], rows[1][i]) +
           product(weights[2], rows[2][i]) + product(weights[3], rows[3][i]);
}

void blendRow(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        const auto sum = static_cast<int32_t>(wrappedSum(rows, weights, i));
        out[i] = static_cast<uint8_t>(std::clamp((sum >> 16) + ((sum >> 15) & 1), 0, 255));
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
