// The four-tap luma filter with 512-bit vectors of 32 columns in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/gather_avx512.h"
#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

/// Each weight w as 64 x coarse + fine, fine from -32 to 31: with coarse weights that sum to 126 or less in
/// magnitude no sum of weighted bytes leaves 16 bits.
inline int part(int weight, int scale) {
    const int coarse = (weight + 32) >> 6;
    return scale == 0 ? coarse : weight - 64 * coarse;
}

/// Words 0 to 31, one a phase, of the weights of two taps two apart, a byte each.
inline void pairWords(const int16_t* coefficients, int scale, uint16_t (&words)[32]) {
    for (int phase = 0; phase < 32; ++phase) {
        const int16_t* taps = coefficients + 4 * phase;
        words[phase] = static_cast<uint16_t>((part(taps[0], scale) & 255) | part(taps[2], scale) * 256);
    }
}

/// For each vector four vectors of weights: coarse and fine ones of the even taps, then of the odd taps.
void planWeights(const ColumnTaps& taps, const int16_t* coefficients, int8_t* weights) {
    for (int part = 0; part < 4; ++part) {
        alignas(64) uint16_t words[32];
        pairWords(coefficients + part / 2, part % 2, words);
        const __m512i ofPhase = _mm512_load_si512(words);
        for (int i = 0; i < taps.columns; i += kLanes) {
            const __m512i lanes = _mm512_permutexvar_epi16(widen(taps.phase + i), ofPhase);
            _mm512_store_si512(weights + 8 * i + part * kVectorBytes, lanes);
        }
    }
}

bool plan(const ColumnTaps& taps, const int16_t* coefficients, FourTapPlan& plan) {
    plan.taps = taps;
    planWeights(taps, coefficients, plan.weights);
    return planElements(taps, plan.elements);
}

/// (64 x coarse + fine + 128) >> 8 of the weighted sums.
inline __m512i filter(const Elements& taps, const int8_t* weights) {
    const auto sum = [&](int scale) {
        return _mm512_add_epi16(
            _mm512_maddubs_epi16(taps.even, _mm512_loadu_si512(weights + scale * kVectorBytes)),
            _mm512_maddubs_epi16(taps.odd, _mm512_loadu_si512(weights + (2 + scale) * kVectorBytes)));
    };
    const __m512i fine = _mm512_srai_epi16(_mm512_add_epi16(sum(1), _mm512_set1_epi16(128)), 6);
    return _mm512_srai_epi16(_mm512_add_epi16(sum(0), fine), 2);
}

void filterRow(const FourTapPlan& plan, const uint8_t* row, const uint8_t* next, int16_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            for (int vector = 0; vector * kLanes < plan.taps.columns; ++vector) {
                const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                _mm512_storeu_si512(out + vector * kLanes,
                                    filter(taps, plan.weights + vector * 4 * kVectorBytes));
            }
        });
}

/// The weights of two rows, for pairs of their samples.
inline __m512i pairWeights(const int16_t* weights) {
    int32_t both;
    __builtin_memcpy(&both, weights, sizeof both);
    return _mm512_set1_epi32(both);
}

/// 32 columns in 1/2 level, saturated to 16 bits, which does not change what is left after the clamp to
/// 0..255. The last bit is rounded off by a rounding multiplication, whose sum cannot overflow.
inline __m512i blendVector(const int16_t* const rows[4], int column, __m512i upper, __m512i lower) {
    __m512i row[4];
    for (int i = 0; i < 4; ++i) row[i] = _mm512_loadu_si512(rows[i] + column);
    const __m512i low = _mm512_add_epi32(_mm512_madd_epi16(_mm512_unpacklo_epi16(row[0], row[1]), upper),
                                         _mm512_madd_epi16(_mm512_unpacklo_epi16(row[2], row[3]), lower));
    const __m512i high = _mm512_add_epi32(_mm512_madd_epi16(_mm512_unpackhi_epi16(row[0], row[1]), upper),
                                          _mm512_madd_epi16(_mm512_unpackhi_epi16(row[2], row[3]), lower));
    const __m512i halves = _mm512_packs_epi32(_mm512_srai_epi32(low, 15), _mm512_srai_epi32(high, 15));
    return _mm512_mulhrs_epi16(halves, _mm512_set1_epi16(1 << 14));
}

void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const __m512i upper = pairWeights(weights);
    const __m512i lower = pairWeights(weights + 2);
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    pack(blendVector(rows, i, upper, lower), blendVector(rows, i + kLanes, upper, lower)));
    }
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    const __m512i sixteenth = _mm512_set1_epi16(1 << 11);
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    pack(_mm512_mulhrs_epi16(_mm512_loadu_si512(row + i), sixteenth),
                         _mm512_mulhrs_epi16(_mm512_loadu_si512(row + i + kLanes), sixteenth)));
    }
}

}  // namespace

const FourTapKernels kFourTapAvx512 = {InstructionSet::Avx512, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
