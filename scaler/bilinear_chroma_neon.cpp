// Bilinear UV pairs with 128-bit vectors, U and V in bytes.
#if defined(__ARM_NEON)

#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/vectors_neon.h"

namespace vantor {
namespace {

constexpr int kVectorPairs = 8;  // in two halves, each with windows of its own

inline uint8x16_t twice(uint8x8_t values) {
    const uint8x8x2_t both = vzip_u8(values, values);
    return vcombine_u8(both.val[0], both.val[1]);
}

/// Stores the indices of both neighbours of each byte, and the weight of the right one.
bool plan(const ColumnTaps& taps, BilinearChromaPlan& plan) {
    uint8_t offset[kWideStripColumns];
    plan.taps = taps;
    if (!planWindows(taps, kVectorPairs / 2, plan.elements, offset)) return false;
    const uint8x16_t isV = vreinterpretq_u8_u16(vdupq_n_u16(1 << 8));
    for (int i = 0; i < taps.columns; i += kVectorPairs) {
        const uint8x16_t left = vaddq_u8(twice(vld1_u8(offset + i)), isV);
        const uint8x16_t right = vaddq_u8(left, vdupq_n_u8(2));
        const uint8x16x2_t indices = {{indexOf(left, plan.elements), indexOf(right, plan.elements)}};
        vst2q_u8(plan.elements.shuffle + 4 * i, indices);
        vst1q_u8(plan.weights + 2 * i, twice(vld1_u8(taps.phase + i)));
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
void filterRow(const BilinearChromaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows<2, 4>(plan.elements, [&](auto count) {
        const uint32_t* start = plan.elements.start;
        const uint8_t* shuffle = plan.elements.shuffle;
        const uint8_t* weights = independent(plan.weights);
        uint8_t* const end = out + 2 * plan.taps.columns;
        for (; out < end; out += kVectorBytes) {
            const auto windows = loadWindows<decltype(count)::value>(row + start[0], row + start[1]);
            const uint8x16x2_t index = vld2q_u8(shuffle);
            __builtin_prefetch(next + start[0]);
            start += 2;
            shuffle += 2 * kVectorBytes;
            vst1q_u8(out, linear<Bits>(pick(windows, index.val[0]), pick(windows, index.val[1]),
                                       loadNext(weights)));
        }
    });
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const uint8x16_t weights = vdupq_n_u8(static_cast<uint8_t>(weight));
    const uint8_t* upper = rows[0];
    const uint8_t* lower = rows[1];
    storeVectors(out, 2 * pairs, [&] {
        const uint8x16_t a = loadNext(upper);
        return linear<Bits>(a, loadNext(lower), weights);
    });
}

}  // namespace

const BilinearChromaKernels kBilinearChromaTruncatedNeon = {InstructionSet::Neon, plan, filterRow<5>,
                                                            blendRows<5>};
const BilinearChromaKernels kBilinearChromaRoundedNeon = {InstructionSet::Neon, plan, filterRow<6>,
                                                          blendRows<6>};

}  // namespace vantor

#endif
