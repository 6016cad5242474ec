#include "scaler/bicubic_luma_kernels.h"
#include "scaler/cubic.h"

namespace vantor {
namespace {

bool plan(const ColumnTaps& taps, BicubicLumaPlan& plan) {
    plan.taps = taps;
    return true;
}

void filterRow(const BicubicLumaPlan& plan, const uint8_t* row, const uint8_t* /*next*/, uint8_t* out) {
    const ColumnTaps& taps = plan.taps;
    for (int i = 0; i < taps.columns; ++i) {
        const uint8_t* p = row + taps.tap[i];
        out[i] = cubic(p[0], p[1], p[2], p[3], taps.phase[i]);
    }
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    for (int i = 0; i < columns; ++i) {
        out[i] = cubic(rows[0][i], rows[1][i], rows[2][i], rows[3][i], phase);
    }
}

}  // namespace

const BicubicLumaKernels kBicubicLumaPlain = {InstructionSet::Plain, plan, filterRow, blendRows};

}  // namespace vantor
