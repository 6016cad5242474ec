#include <algorithm>

#include "scaler/bilinear_pairs.h"
#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

void filterRow(const uint8_t* row, const uint32_t* tap, const uint8_t* phase, const int16_t* coefficients,
               int16_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        const uint8_t* s = row + tap[i];
        const int16_t* w = coefficients + 4 * phase[i];
        const int sum = w[0] * s[0] + w[1] * s[1] + w[2] * s[2] + w[3] * s[3];
        out[i] = static_cast<int16_t>(std::clamp((sum + 128) >> 8, INT16_MIN, INT16_MAX));
    }
}

uint32_t product(int a, int b) {
    return static_cast<uint32_t>(a * b);
}

void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        const uint32_t wrapped = product(weights[0], rows[0][i]) + product(weights[1], rows[1][i]) +
                                 product(weights[2], rows[2][i]) + product(weights[3], rows[3][i]);
        const auto sum = static_cast<int32_t>(wrapped);
        out[i] = static_cast<uint8_t>(std::clamp((sum >> 16) + ((sum >> 15) & 1), 0, 255));
    }
}

}  // namespace

const FourTapKernels kFourTapPlain = {InstructionSet::Plain, filterRow, blendRows, filterPairs<6, 32>,
                                      blendPairs<6, 32>};

}  // namespace vantor
