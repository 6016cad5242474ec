// The four-tap luma filter with 256-bit vectors of 16 columns in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/gather_avx2.h"
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
        for (int i = 0; i < taps.columns; i += kLanes) {
            int8_t* const lanes = weights + 8 * i + part * kVectorBytes;
            for (int k = 0; k < kLanes; ++k) __builtin_memcpy(lanes + 2 * k, &words[taps.phase[i + k]], 2);
        }
    }
}

bool plan(const ColumnTaps& taps, const int16_t* coefficients, FourTapPlan& plan) {
    plan.taps = taps;
    planWeights(taps, coefficients, plan.weights);
    return planElements(taps, plan.elements);
}

/// (64 x coarse + fine + 128) >> 8 of the weighted sums.
inline __m256i filter(const Elements& taps, const int8_t* weights) {
    const auto sum = [&](int scale) {
        return _mm256_add_epi16(_mm256_maddubs_epi16(taps.even, load(weights + scale * kVectorBytes)),
                                _mm256_maddubs_epi16(taps.odd, load(weights + (2 + scale) * kVectorBytes)));
    };
    const __m256i fine = _mm256_srai_epi16(_mm256_add_epi16(sum(1), _mm256_set1_epi16(128)), 6);
    return _mm256_srai_epi16(_mm256_add_epi16(sum(0), fine), 2);
}

void filterRow(const FourTapPlan& plan, const uint8_t* row, const uint8_t* next, int16_t* out) {
    withWindows(
        plan.elements, [&](auto windows) __attribute__((always_inline)) {
            for (int vector = 0; vector * kLanes < plan.taps.columns; ++vector) {
                const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
                store(out + vector * kLanes, filter(taps, plan.weights + vector * 4 * kVectorBytes));
            }
        });
}

/// The weights of two rows, for pairs of their samples.
inline __m256i pairWeights(const int16_t* weights) {
    int32_t both;
    __builtin_memcpy(&both, weights, sizeof both);
    return _mm256_set1_epi32(both);
}

/// 16 columns in 1/2 level, saturated to 16 bits, which does not change what is left after the clamp to
/// 0..255. The last bit is rounded off by a rounding multiplication, whose sum cannot overflow.
inline __m256i blendVector(const int16_t* const rows[4], int column, __m256i upper, __m256i lower) {
    __m256i row[4];
    for (int i = 0; i < 4; ++i) row[i] = load(rows[i] + column);
    const __m256i low = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpacklo_epi16(row[0], row[1]), upper),
                                         _mm256_madd_epi16(_mm256_unpacklo_epi16(row[2], row[3]), lower));
    const __m256i high = _mm256_add_epi32(_mm256_madd_epi16(_mm256_unpackhi_epi16(row[0], row[1]), upper),
                                          _mm256_madd_epi16(_mm256_unpackhi_epi16(row[2], row[3]), lower));
    const __m256i halves = _mm256_packs_epi32(_mm256_srai_epi32(low, 15), _mm256_srai_epi32(high, 15));
    return _mm256_mulhrs_epi16(halves, _mm256_set1_epi16(1 << 14));
}

void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const __m256i upper = pairWeights(weights);
    const __m256i lower = pairWeights(weights + 2);
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    pack(blendVector(rows, i, upper, lower), blendVector(rows, i + kLanes, upper, lower)));
    }
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    const __m256i sixteenth = _mm256_set1_epi16(1 << 11);
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    pack(_mm256_mulhrs_epi16(load(row + i), sixteenth),
                         _mm256_mulhrs_epi16(load(row + i + kLanes), sixteenth)));
    }
}

}  // namespace

const FourTapKernels kFourTapAvx2 = {InstructionSet::Avx2, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
