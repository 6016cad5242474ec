#include "scaler/bicubic_luma_kernels.h"

namespace vantor {
namespace {

void filterRow(const uint8_t* row, const uint32_t* tap, const uint8_t* phase, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        const uint8_t* p = row + tap[i];
        out[i] = cubic(p[0], p[1], p[2], p[3], phase[i]);
    }
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        out[i] = cubic(rows[0][i], rows[1][i], rows[2][i], rows[3][i], phase);
    }
}

}  // namespace

const LumaKernels kLumaPlain = {InstructionSet::Plain, filterRow, blendRows};

}  // namespace vantor
