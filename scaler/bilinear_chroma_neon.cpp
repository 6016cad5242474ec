// Bilinear UV pairs with 128-bit vectors: eight pairs per step, U and V in bytes.
#if defined(__ARM_NEON)

#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/vectors_neon.h"

namespace vantor {
namespace {

constexpr int kVectorPairs = 8;

/// Weight and index of each pair are stored twice, for U and for V.
bool plan(const ColumnTaps& taps, BilinearChromaPlan& plan) {
    uint8_t index[kWideStripColumns];
    plan.taps = taps;
    if (!planWindows(taps, kVectorPairs / 2, plan.elements, index)) return false;
    for (int i = 0; i < taps.columns; i += kVectorPairs) {
        const uint8x8_t u = vld1_u8(index + i);
        const uint8x8_t weight = vld1_u8(taps.phase + i);
        const uint8x8x2_t indices = {{u, vadd_u8(u, vdup_n_u8(1))}};
        const uint8x8x2_t weights = {{weight, weight}};
        vst2_u8(plan.elements.shuffle + 2 * i, indices);
        vst2_u8(plan.weights + 2 * i, weights);
    }
    return true;
}

/// a and b by their weights, which sum to 2^Bits: the sum is at most 255 x 64.
template <int Bits, int Half>
inline uint8x8_t linearHalf(uint8x16_t a, uint8x16_t b, uint8x16_t weightA, uint8x16_t weightB) {
    const uint16x8_t sum =
        vmlal_u8(vmull_u8(half<Half>(a), half<Half>(weightA)), half<Half>(b), half<Half>(weightB));
    if constexpr (Bits == 5) {
        return vshrn_n_u16(sum, Bits);
    } else {
        return vrshrn_n_u16(sum, Bits);
    }
}

template <int Bits>
inline uint8x16_t linear(uint8x16_t a, uint8x16_t b, uint8x16_t weight) {
    const uint8x16_t rest = vsubq_u8(vdupq_n_u8(1 << Bits), weight);
    const uint8x8_t lower = linearHalf<Bits, 0>(a, b, rest, weight);
    const uint8x8_t upper = linearHalf<Bits, 1>(a, b, rest, weight);
    return vcombine_u8(lower, upper);
}

template <int Bits>
void filterRow(const BilinearChromaPlan& shared, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    const BilinearChromaPlan plan = shared;  // what is stored cannot change it
    const int columns = plan.taps.columns;
    withWindows<2, 4>(plan.elements, [&](auto count) {
        for (int vector = 0; vector * kVectorPairs < columns; ++vector, out += kVectorBytes) {
            const auto windows = loadWindows<decltype(count)::value>(plan.elements, row, next, vector);
            const uint8x16_t first = vld1q_u8(plan.elements.shuffle + vector * kVectorBytes);
            const uint8x16_t left = pick(windows, first);
            const uint8x16_t right = pick(windows, vaddq_u8(first, vdupq_n_u8(2)));
            vst1q_u8(out, linear<Bits>(left, right, vld1q_u8(plan.weights + vector * kVectorBytes)));
        }
    });
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const uint8x16_t weights = vdupq_n_u8(static_cast<uint8_t>(weight));
    const uint8_t* const upper = rows[0];
    const uint8_t* const lower = rows[1];
    for (int i = 0; i < 2 * pairs; i += kVectorBytes) {
        storeBefore(out + 2 * pairs, out + i,
                    linear<Bits>(vld1q_u8(upper + i), vld1q_u8(lower + i), weights));
    }
}

}  // namespace

const BilinearChromaKernels kBilinearChromaTruncatedNeon = {InstructionSet::Neon, plan, filterRow<5>,
                                                            blendRows<5>};
const BilinearChromaKernels kBilinearChromaRoundedNeon = {InstructionSet::Neon, plan, filterRow<6>,
                                                          blendRows<6>};

}  // namespace vantor

#endif
