// Bicubic luma with 256-bit vectors of 16 columns in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/bicubic_luma_kernels.h"
#include "scaler/gather_avx2.h"

namespace vantor {
namespace {

bool plan(const ColumnTaps& taps, LumaPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kLanes) {
        store(plan.phase + i, _mm256_slli_epi16(widen(taps.phase + i), 10));
    }
    return planElements(taps, plan.elements);
}

/// Weights for the two bytes of each lane.
inline __m256i weights(int first, int second) {
    return _mm256_set1_epi16(static_cast<int16_t>((first & 255) | (second * 256)));
}

/// The cubic before its clamp, of the taps p0 and p2 in `even`, p1 and p3 in `odd`; `phase` is in 1/32768. A
/// multiplication by it keeps the upper 16 bits and so divides by 64: where 32 is wanted, the other factor is
/// doubled. Doubled factors stay within 8,200 in magnitude.
inline __m256i cubic(__m256i even, __m256i odd, __m256i phase) {
    const __m256i cubeTwice = _mm256_add_epi16(_mm256_maddubs_epi16(even, weights(-2, -6)),
                                               _mm256_maddubs_epi16(odd, weights(6, 2)));
    const __m256i squareTwice = _mm256_add_epi16(_mm256_maddubs_epi16(even, weights(4, 8)),
                                                 _mm256_maddubs_epi16(odd, weights(-10, -2)));
    const __m256i third = _mm256_mulhi_epi16(cubeTwice, phase);
    const __m256i second =
        _mm256_mulhi_epi16(_mm256_add_epi16(squareTwice, _mm256_add_epi16(third, third)), phase);
    const __m256i slope = _mm256_maddubs_epi16(even, weights(-1, 1));
    const __m256i step = _mm256_mulhi_epi16(_mm256_add_epi16(slope, second), phase);
    return _mm256_add_epi16(_mm256_and_si256(odd, _mm256_set1_epi16(255)), step);
}

void filterRow(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            const auto filter = [&](int vector) __attribute__((always_inline)) {
                const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                return cubic(taps.even, taps.odd, load(plan.phase + vector * kLanes));
            };
            for (int vector = 0; vector * kLanes < plan.taps.columns; vector += 2) {
                store(out + vector * kLanes, pack(filter(vector), filter(vector + 1)));
            }
        });
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const __m256i phases = _mm256_set1_epi16(static_cast<int16_t>(phase << 10));
    for (int i = 0; i < columns; i += kVectorBytes) {
        const __m256i p0 = load(rows[0] + i);
        const __m256i p1 = load(rows[1] + i);
        const __m256i p2 = load(rows[2] + i);
        const __m256i p3 = load(rows[3] + i);
        const __m256i low = cubic(_mm256_unpacklo_epi8(p0, p2), _mm256_unpacklo_epi8(p1, p3), phases);
        const __m256i high = cubic(_mm256_unpackhi_epi8(p0, p2), _mm256_unpackhi_epi8(p1, p3), phases);
        storeBefore(out + columns, out + i, _mm256_packus_epi16(low, high));
    }
}

}  // namespace

const LumaKernels kLumaAvx2 = {InstructionSet::Avx2, plan, filterRow, blendRows};

}  // namespace vantor

#endif
