// Bilinear UV pairs with 512-bit vectors of 32 pairs, U and V apart in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/bilinear_pairs_kernels.h"
#include "scaler/gather_avx512.h"

namespace vantor {
namespace {

/// The weights 2^Bits - t and t as the bytes of each lane, which holds t.
template <int Bits>
inline __m512i weights(__m512i t) {
    return _mm512_add_epi16(_mm512_sub_epi16(_mm512_set1_epi16(1 << Bits), t), _mm512_slli_epi16(t, 8));
}

/// What is left of weighted sums when the weights' scale is taken out: cut, or rounded.
template <int Bits>
inline __m512i unscale(__m512i sums) {
    if constexpr (Bits == 5) {
        return _mm512_srli_epi16(sums, 5);
    } else {
        return _mm512_mulhrs_epi16(sums, _mm512_set1_epi16(1 << (15 - Bits)));
    }
}

template <int Bits>
bool plan(const ColumnTaps& taps, PairPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kLanes) {
        _mm512_storeu_si512(plan.weights + 2 * i, weights<Bits>(widen(taps.phase + i)));
    }
    return planElements(taps, plan.elements);
}

template <int Bits>
void filterRow(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            for (int vector = 0; vector * kLanes < plan.taps.columns; ++vector) {
                const Elements uv = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                const __m512i pairWeights = _mm512_loadu_si512(plan.weights + vector * kVectorBytes);
                const __m512i u = unscale<Bits>(_mm512_maddubs_epi16(uv.even, pairWeights));
                const __m512i v = unscale<Bits>(_mm512_maddubs_epi16(uv.odd, pairWeights));
                _mm512_storeu_si512(out + vector * kVectorBytes, _mm512_or_si512(u, _mm512_slli_epi16(v, 8)));
            }
        });
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const __m512i rowWeights = weights<Bits>(_mm512_set1_epi16(static_cast<int16_t>(weight)));
    for (int i = 0; i < 2 * pairs; i += kVectorBytes) {
        const __m512i upper = _mm512_loadu_si512(rows[0] + i);
        const __m512i lower = _mm512_loadu_si512(rows[1] + i);
        const __m512i low = _mm512_maddubs_epi16(_mm512_unpacklo_epi8(upper, lower), rowWeights);
        const __m512i high = _mm512_maddubs_epi16(_mm512_unpackhi_epi8(upper, lower), rowWeights);
        storeBefore(out + 2 * pairs, out + i, _mm512_packus_epi16(unscale<Bits>(low), unscale<Bits>(high)));
    }
}

}  // namespace

const PairKernels kCutPairsAvx512 = {InstructionSet::Avx512, plan<5>, filterRow<5>, blendRows<5>};
const PairKernels kRoundedPairsAvx512 = {InstructionSet::Avx512, plan<6>, filterRow<6>, blendRows<6>};

}  // namespace vantor

#endif
