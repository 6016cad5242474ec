#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/linear.h"

namespace vantor {
namespace {

bool plan(const ColumnTaps& taps, BilinearChromaPlan& plan) {
    plan.taps = taps;
    return true;
}

template <int Bits, int Bias>
void filterRow(const BilinearChromaPlan& plan, const uint8_t* row, const uint8_t* /*next*/, uint8_t* out) {
    const ColumnTaps& taps = plan.taps;
    for (int i = 0; i < taps.columns; ++i) {
        const uint8_t* p = row + taps.tap[i];
        out[2 * i] = linear<Bits, Bias>(p[0], p[2], taps.phase[i]);
        out[2 * i + 1] = linear<Bits, Bias>(p[1], p[3], taps.phase[i]);
    }
}

template <int Bits, int Bias>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    for (int i = 0; i < 2 * pairs; ++i) out[i] = linear<Bits, Bias>(rows[0][i], rows[1][i], weight);
}

}  // namespace

const BilinearChromaKernels kBilinearChromaTruncatedPlain = {InstructionSet::Plain, plan, filterRow<5, 0>,
                                                             blendRows<5, 0>};
const BilinearChromaKernels kBilinearChromaRoundedPlain = {InstructionSet::Plain, plan, filterRow<6, 32>,
                                                           blendRows<6, 32>};

}  // namespace vantor
