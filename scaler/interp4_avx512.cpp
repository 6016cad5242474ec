// The four-tap luma filter with 512-bit vectors: 16 columns in 32-bit lanes across, 32 columns down.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 64;
constexpr int kVectorColumnsAcross = 16;
constexpr int kVectorColumnsDown = 32;
constexpr int kMostWindows = 4;

bool plan(const ColumnTaps& taps, const int16_t* coefficients, FourTapPlan& plan) {
    uint8_t offset[kFourTapColumns];
    plan.taps = taps;
    plan.windowsPerVector = 1;
    while (
        !placeWindows(taps, kVectorColumnsAcross / plan.windowsPerVector, kVectorBytes, plan.start, offset)) {
        plan.windowsPerVector *= 2;
        if (plan.windowsPerVector > kMostWindows) return false;
    }
    for (int i = 0; i < taps.columns; i += kVectorColumnsAcross) {
        const __m512i first =
            _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(offset + i)));
        const __m512i pair = _mm512_or_si512(first, _mm512_slli_epi32(first, 16));
        _mm512_store_si512(plan.shuffle + 4 * i, _mm512_add_epi8(pair, _mm512_set1_epi32(0x00010000)));
        int16_t* const weights = plan.weights + 4 * i;
        for (int k = 0; k < kVectorColumnsAcross; ++k) {
            const int16_t* row = coefficients + 4 * taps.phase[i + k];
            __builtin_memcpy(weights + 2 * k, row, 4);
            __builtin_memcpy(weights + 2 * kVectorColumnsAcross + 2 * k, row + 2, 4);
        }
    }
    return true;
}

/// The bytes that `shuffle` names, as words: lanes from window w on come from that window.
template <int Windows>
inline __m512i gather(const __m512i (&window)[kMostWindows], __m512i shuffle) {
    constexpr __mmask64 kLowBytes = 0x5555555555555555;
    __m512i picked = _mm512_maskz_permutexvar_epi8(kLowBytes, shuffle, window[0]);
    for (int w = 1; w < Windows; ++w) {
        const __mmask64 lanes = kLowBytes << (w * kVectorBytes / Windows);
        picked = _mm512_mask_permutexvar_epi8(picked, lanes, shuffle, window[w]);
    }
    return picked;
}

template <int Windows>
inline __m512i filterVector(const FourTapPlan& plan, const uint8_t* row, int vector) {
    __m512i window[kMostWindows];
    for (int w = 0; w < Windows; ++w) {
        window[w] = _mm512_loadu_si512(row + plan.start[vector * Windows + w]);
    }
    const int16_t* weights = plan.weights + vector * kVectorBytes;
    const __m512i left = _mm512_load_si512(plan.shuffle + vector * kVectorBytes);
    const __m512i right = _mm512_add_epi8(left, _mm512_set1_epi8(2));
    const __m512i sums = _mm512_add_epi32(
        _mm512_madd_epi16(gather<Windows>(window, left), _mm512_load_si512(weights)),
        _mm512_madd_epi16(gather<Windows>(window, right), _mm512_load_si512(weights + kVectorColumnsDown)));
    return _mm512_srai_epi32(_mm512_add_epi32(sums, _mm512_set1_epi32(128)), 8);
}

template <int Windows>
void filterVectors(const FourTapPlan& plan, const uint8_t* row, int16_t* out) {
    const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    for (int vector = 0; vector * kVectorColumnsAcross < plan.taps.columns; vector += 2) {
        const __m512i packed = _mm512_packs_epi32(filterVector<Windows>(plan, row, vector),
                                                  filterVector<Windows>(plan, row, vector + 1));
        _mm512_storeu_si512(out + vector * kVectorColumnsAcross, _mm512_permutexvar_epi64(inOrder, packed));
    }
}

void filterRow(const FourTapPlan& plan, const uint8_t* row, const uint8_t* /*next*/, int16_t* out) {
    switch (plan.windowsPerVector) {
        case 1:
            return filterVectors<1>(plan, row, out);
        case 2:
            return filterVectors<2>(plan, row, out);
        default:
            return filterVectors<4>(plan, row, out);
    }
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

/// Packs 64 columns to bytes and stores those from `column` to `columns` - 1.
inline void store(__m512i left, __m512i right, uint8_t* out, int column, int columns) {
    const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    const int count = columns - column;
    const __mmask64 stored = count < kVectorBytes ? (__mmask64{1} << count) - 1 : ~__mmask64{0};
    _mm512_mask_storeu_epi8(out + column, stored,
                            _mm512_permutexvar_epi64(inOrder, _mm512_packus_epi16(left, right)));
}

void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const __m512i upper = pairWeights(weights);
    const __m512i lower = pairWeights(weights + 2);
    for (int i = 0; i < columns; i += kVectorBytes) {
        store(blendVector(rows, i, upper, lower), blendVector(rows, i + kVectorColumnsDown, upper, lower),
              out, i, columns);
    }
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    const __m512i sixteenth = _mm512_set1_epi16(1 << 11);
    for (int i = 0; i < columns; i += kVectorBytes) {
        store(_mm512_mulhrs_epi16(_mm512_loadu_si512(row + i), sixteenth),
              _mm512_mulhrs_epi16(_mm512_loadu_si512(row + i + kVectorColumnsDown), sixteenth), out, i,
              columns);
    }
}

}  // namespace

const FourTapKernels kFourTapAvx512 = {InstructionSet::Avx512, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
