// The four-tap luma filter with 256-bit vectors: eight columns in 32-bit lanes across, 16 columns down.
// Across, two vectors make 16 words: the first holds columns 0 to 3 and 8 to 11 in its halves, the second 4
// to 7 and 12 to 15, as the packing wants them.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/interp4_kernels.h"

namespace vantor {
namespace {

constexpr int kWindowBytes = 16;
constexpr int kGroup = 16;  // columns of two vectors across
constexpr int kWindowColumns = 4;

/// Where each four columns of a group have their lanes.
constexpr int kPlaceOfFour[] = {0, 2, 1, 3};

inline __m256i load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

/// For each vector the weights of its columns' left two taps, then those of the right two. Shuffle bytes are
/// those of the left taps as words; 0x80 gives a byte of 0.
void planFour(const uint8_t* offset, const uint8_t* phase, const int16_t* coefficients, int place,
              FourTapPlan& plan) {
    int32_t bytes;
    __builtin_memcpy(&bytes, offset, sizeof bytes);
    const __m128i first = _mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes));
    const __m128i pair = _mm_or_si128(first, _mm_slli_epi32(first, 16));
    _mm_store_si128(reinterpret_cast<__m128i*>(plan.shuffle + kWindowBytes * place),
                    _mm_add_epi8(pair, _mm_set1_epi32(static_cast<int>(0x80018000))));
    int16_t* const weights = plan.weights + place / 2 * 32 + place % 2 * 8;
    for (int k = 0; k < kWindowColumns; ++k) {
        const int16_t* row = coefficients + 4 * phase[k];
        __builtin_memcpy(weights + 2 * k, row, 4);
        __builtin_memcpy(weights + 16 + 2 * k, row + 2, 4);
    }
}

bool plan(const ColumnTaps& taps, const int16_t* coefficients, FourTapPlan& plan) {
    uint8_t offset[kFourTapColumns];
    plan.taps = taps;
    if (!placeWindows(taps, kWindowColumns, kWindowBytes, plan.start, offset)) return false;
    for (int i = 0; i < taps.columns; i += kWindowColumns) {
        planFour(offset + i, taps.phase + i, coefficients,
                 i / kGroup * 4 + kPlaceOfFour[i % kGroup / kWindowColumns], plan);
    }
    return true;
}

inline __m256i windows(const uint8_t* low, const uint8_t* high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

inline __m256i filterVector(const FourTapPlan& plan, const uint8_t* row, int group, int half) {
    const uint32_t* start = plan.start + group * 4 + half;
    const int at = group * 64 + half * 32;
    const __m256i window = windows(row + start[0], row + start[2]);
    const __m256i left = load(plan.shuffle + at);
    const __m256i right = _mm256_add_epi8(left, _mm256_set1_epi8(2));
    const __m256i sums =
        _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(window, left), load(plan.weights + at)),
                         _mm256_madd_epi16(_mm256_shuffle_epi8(window, right), load(plan.weights + at + 16)));
    return _mm256_srai_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(128)), 8);
}

void filterRow(const FourTapPlan& plan, const uint8_t* row, const uint8_t* /*next*/, int16_t* out) {
    for (int group = 0; group * kGroup < plan.taps.columns; ++group) {
        const __m256i packed =
            _mm256_packs_epi32(filterVector(plan, row, group, 0), filterVector(plan, row, group, 1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + group * kGroup), packed);
    }
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

constexpr int kStoredColumns = 32;

/// Packs 32 columns to bytes and stores those from `column` to `columns` - 1.
inline void store(__m256i left, __m256i right, uint8_t* out, int column, int columns) {
    const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(left, right), 0b11011000);
    if (columns - column >= kStoredColumns) {
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + column), packed);
    } else {
        uint8_t bytes[kStoredColumns];
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), packed);
        for (int i = column; i < columns; ++i) out[i] = bytes[i - column];
    }
}

void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const __m256i upper = pairWeights(weights);
    const __m256i lower = pairWeights(weights + 2);
    for (int i = 0; i < columns; i += kStoredColumns) {
        store(blendVector(rows, i, upper, lower), blendVector(rows, i + 16, upper, lower), out, i, columns);
    }
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    const __m256i sixteenth = _mm256_set1_epi16(1 << 11);
    for (int i = 0; i < columns; i += kStoredColumns) {
        store(_mm256_mulhrs_epi16(load(row + i), sixteenth),
              _mm256_mulhrs_epi16(load(row + i + 16), sixteenth), out, i, columns);
    }
}

}  // namespace

const FourTapKernels kFourTapAvx2 = {InstructionSet::Avx2, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
