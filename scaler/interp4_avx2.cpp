// The four-tap luma filter with 256-bit vectors of 16 columns in 16-bit lanes.
#if defined(__x86_64__)

#include "scaler/gather_avx2.h"
#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

/// Each weight w as 64 x coarse + fine, fine from -32 to 31: with coarse weights that sum to 126 or less in
/// magnitude no sum of weighted bytes leaves 16 bits. For each vector four vectors of weights: coarse and
/// fine ones of the even taps, coarse and fine ones of the odd taps.
void planWeights(const ColumnTaps& taps, const int16_t* coefficients, int8_t* weights) {
    for (int i = 0; i < taps.columns; ++i) {
        int8_t* const lane = weights + i / kLanes * 4 * kVectorBytes + i % kLanes * 2;
        for (int tap = 0; tap < 4; ++tap) {
            const int weight = coefficients[4 * taps.phase[i] + tap];
            const int coarse = (weight + 32) >> 6;
            int8_t* const to = lane + tap % 2 * 2 * kVectorBytes + tap / 2;
            to[0] = static_cast<int8_t>(coarse);
            to[kVectorBytes] = static_cast<int8_t>(weight - 64 * coarse);
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
    withWindows(plan.elements, [&](auto windows) {
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
