// Bilinear UV pairs with 256-bit vectors of 16 pairs, U and V apart in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/bilinear_pairs_kernels.h"
#include "scaler/gather_avx2.h"

namespace vantor {
namespace {

/// The weights 2^Bits - t and t as the bytes of each lane, which holds t.
template <int Bits>
inline __m256i weights(__m256i t) {
    return _mm256_add_epi16(_mm256_sub_epi16(_mm256_set1_epi16(1 << Bits), t), _mm256_slli_epi16(t, 8));
}

/// What is left of weighted sums when the weights' scale is taken out: cut, or rounded.
template <int Bits>
inline __m256i unscale(__m256i sums) {
    if constexpr (Bits == 5) {
        return _mm256_srli_epi16(sums, 5);
    } else {
        return _mm256_mulhrs_epi16(sums, _mm256_set1_epi16(1 << (15 - Bits)));
    }
}

template <int Bits>
bool plan(const ColumnTaps& taps, PairPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kLanes) {
        store(plan.weights + 2 * i, weights<Bits>(widen(taps.phase + i)));
    }
    return planElements(taps, plan.elements);
}

template <int Bits>
void filterRow(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            for (int vector = 0; vector * kLanes < plan.taps.columns; ++vector) {
                const Elements uv = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                const __m256i pairWeights = load(plan.weights + vector * kVectorBytes);
                const __m256i u = unscale<Bits>(_mm256_maddubs_epi16(uv.even, pairWeights));
                const __m256i v = unscale<Bits>(_mm256_maddubs_epi16(uv.odd, pairWeights));
                store(out + vector * kVectorBytes, _mm256_or_si256(u, _mm256_slli_epi16(v, 8)));
            }
        });
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const __m256i rowWeights = weights<Bits>(_mm256_set1_epi16(static_cast<int16_t>(weight)));
    for (int i = 0; i < 2 * pairs; i += kVectorBytes) {
        const __m256i upper = load(rows[0] + i);
        const __m256i lower = load(rows[1] + i);
        const __m256i low = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(upper, lower), rowWeights);
        const __m256i high = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(upper, lower), rowWeights);
        storeBefore(out + 2 * pairs, out + i, _mm256_packus_epi16(unscale<Bits>(low), unscale<Bits>(high)));
    }
}

}  // namespace

const PairKernels kCutPairsAvx2 = {InstructionSet::Avx2, plan<5>, filterRow<5>, blendRows<5>};
const PairKernels kRoundedPairsAvx2 = {InstructionSet::Avx2, plan<6>, filterRow<6>, blendRows<6>};

}  // namespace vantor

#endif
