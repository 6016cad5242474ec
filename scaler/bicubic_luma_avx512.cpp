// Bicubic luma with 512-bit vectors of 32 columns in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/bicubic_luma_kernels.h"
#include "scaler/gather_avx512.h"

namespace vantor {
namespace {

bool plan(const ColumnTaps& taps, LumaPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kLanes) {
        _mm512_storeu_si512(plan.phase + i, _mm512_slli_epi16(widen(taps.phase + i), 10));
    }
    return planElements(taps, plan.elements);
}

/// Weights for the two bytes of each lane.
inline __m512i weights(int first, int second) {
    return _mm512_set1_epi16(static_cast<int16_t>((first & 255) | (second * 256)));
}

/// The cubic before its clamp, of the taps p0 and p2 in `even`, p1 and p3 in `odd`; `phase` is in 1/32768. A
/// multiplication by it keeps the upper 16 bits and so divides by 64: where 32 is wanted, the other factor is
/// doubled. Doubled factors stay within 8,200 in magnitude.
inline __m512i cubic(__m512i even, __m512i odd, __m512i phase) {
    const __m512i cubeTwice = _mm512_add_epi16(_mm512_maddubs_epi16(even, weights(-2, -6)),
                                               _mm512_maddubs_epi16(odd, weights(6, 2)));
    const __m512i squareTwice = _mm512_add_epi16(_mm512_maddubs_epi16(even, weights(4, 8)),
                                                 _mm512_maddubs_epi16(odd, weights(-10, -2)));
    const __m512i third = _mm512_mulhi_epi16(cubeTwice, phase);
    const __m512i second =
        _mm512_mulhi_epi16(_mm512_add_epi16(squareTwice, _mm512_add_epi16(third, third)), phase);
    const __m512i slope = _mm512_maddubs_epi16(even, weights(-1, 1));
    const __m512i step = _mm512_mulhi_epi16(_mm512_add_epi16(slope, second), phase);
    return _mm512_add_epi16(_mm512_and_si512(odd, _mm512_set1_epi16(255)), step);
}

void filterRow(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            const auto filter = [&](int vector) __attribute__((always_inline)) {
                const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                return cubic(taps.even, taps.odd, _mm512_loadu_si512(plan.phase + vector * kLanes));
            };
            for (int vector = 0; vector * kLanes < plan.taps.columns; vector += 2) {
                _mm512_storeu_si512(out + vector * kLanes, pack(filter(vector), filter(vector + 1)));
            }
        });
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const __m512i phases = _mm512_set1_epi16(static_cast<int16_t>(phase << 10));
    for (int i = 0; i < columns; i += kVectorBytes) {
        const __m512i p0 = _mm512_loadu_si512(rows[0] + i);
        const __m512i p1 = _mm512_loadu_si512(rows[1] + i);
        const __m512i p2 = _mm512_loadu_si512(rows[2] + i);
        const __m512i p3 = _mm512_loadu_si512(rows[3] + i);
        const __m512i low = cubic(_mm512_unpacklo_epi8(p0, p2), _mm512_unpacklo_epi8(p1, p3), phases);
        const __m512i high = cubic(_mm512_unpackhi_epi8(p0, p2), _mm512_unpackhi_epi8(p1, p3), phases);
        storeBefore(out + columns, out + i, _mm512_packus_epi16(low, high));
    }
}

}  // namespace

const LumaKernels kLumaAvx512 = {InstructionSet::Avx512, plan, filterRow, blendRows};

}  // namespace vantor

#endif
