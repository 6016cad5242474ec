// Bilinear UV pairs with 256-bit vectors of eight pairs, U and V in 16-bit lanes. Two vectors make 32 bytes:
// the first holds pairs 0 to 3 and 8 to 11 in its halves, the second 4 to 7 and 12 to 15, as the packing
// wants them.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/bilinear_pairs_kernels.h"

namespace vantor {
namespace {

constexpr int kWindowBytes = 16;
constexpr int kGroup = 16;  // pairs of two vectors

/// Where each four pairs of a group have their lanes.
constexpr int kPlaceOfFour[] = {0, 2, 1, 3};

inline __m128i widen(const uint8_t* four) {
    int32_t bytes;
    __builtin_memcpy(&bytes, four, sizeof bytes);
    return _mm_cvtepu8_epi32(_mm_cvtsi32_si128(bytes));
}

/// The weights 2^Bits - t and t, as bytes, in each 32-bit lane twice: t is the lane's low byte.
inline __m128i weightLanes(__m128i t, int bits) {
    const __m128i both = _mm_or_si128(_mm_slli_epi32(t, 8), _mm_slli_epi32(t, 24));
    return _mm_add_epi8(
        _mm_sub_epi8(_mm_set1_epi16(static_cast<int16_t>(1 << bits)), _mm_srli_epi32(both, 8)), both);
}

inline void store(uint8_t* to, __m128i bytes) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), bytes);
}

/// Lays down 16 shuffle bytes for four elements: for each its two U, then its two V. They hold for one window
/// of four pairs as for two windows of two.
template <int Bits>
bool plan(const ColumnTaps& taps, PairPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.taps = taps;
    plan.windowsPerVector = 2;
    if (!placeWindows(taps, 4, kWindowBytes, plan.start, offset)) {
        plan.windowsPerVector = 4;
        if (!placeWindows(taps, 2, kWindowBytes, plan.start, offset)) return false;
    }
    for (int i = 0; i < taps.columns; i += 4) {
        const int place = 4 * (i / kGroup * 4 + kPlaceOfFour[i % kGroup / 4]);
        const __m128i first = _mm_mullo_epi32(widen(offset + i), _mm_set1_epi32(0x01010101));
        store(plan.shuffle + 4 * place, _mm_add_epi8(first, _mm_set1_epi32(0x03010200)));
        store(plan.weights + 4 * place, weightLanes(widen(taps.phase + i), Bits));
    }
    return true;
}

inline __m256i load(const uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

inline __m256i windows(const uint8_t* low, const uint8_t* high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

/// What is left of weighted sums when the weights' scale is taken out: cut, or rounded.
template <int Bits>
inline __m256i unscale(__m256i sums) {
    if constexpr (Bits == 5) return _mm256_srli_epi16(sums, 5);
    return _mm256_mulhrs_epi16(sums, _mm256_set1_epi16(1 << (15 - Bits)));
}

inline __m256i gatherFours(const uint8_t* row, const uint32_t* start, __m256i shuffle) {
    return _mm256_shuffle_epi8(windows(row + start[0], row + start[2]), shuffle);
}

inline __m256i gatherTwos(const uint8_t* row, const uint32_t* start, __m256i shuffle) {
    const __m256i left = _mm256_shuffle_epi8(windows(row + start[0], row + start[4]), shuffle);
    const __m256i right = _mm256_shuffle_epi8(windows(row + start[1], row + start[5]), shuffle);
    return _mm256_blend_epi32(left, right, 0b11001100);
}

template <int Bits, int WindowsPerVector>
inline __m256i filterVector(const PairPlan& plan, const uint8_t* row, int group, int half) {
    const uint32_t* start = plan.start + group * 2 * WindowsPerVector + half * WindowsPerVector / 2;
    const int at = group * 64 + half * 32;
    const __m256i shuffle = load(plan.shuffle + at);
    const __m256i elements =
        WindowsPerVector == 2 ? gatherFours(row, start, shuffle) : gatherTwos(row, start, shuffle);
    return unscale<Bits>(_mm256_maddubs_epi16(elements, load(plan.weights + at)));
}

inline void prefetch(const uint8_t* at) {
    _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T0);
}

template <int Bits, int WindowsPerVector>
void filterVectors(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    for (int group = 0; group * kGroup < plan.taps.columns; ++group) {
        for (int w = 0; w < 2 * WindowsPerVector; w += 2) {
            prefetch(next + plan.start[group * 2 * WindowsPerVector + w]);
        }
        const __m256i packed = _mm256_packus_epi16(filterVector<Bits, WindowsPerVector>(plan, row, group, 0),
                                                   filterVector<Bits, WindowsPerVector>(plan, row, group, 1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + group * 32), packed);
    }
}

template <int Bits>
void filterRow(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    if (plan.windowsPerVector == 2) {
        filterVectors<Bits, 2>(plan, row, next, out);
    } else {
        filterVectors<Bits, 4>(plan, row, next, out);
    }
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const __m256i weights = _mm256_broadcastsi128_si256(weightLanes(_mm_set1_epi32(weight), Bits));
    for (int i = 0; i < 2 * pairs; i += 32) {
        const __m256i upper = load(rows[0] + i);
        const __m256i lower = load(rows[1] + i);
        const __m256i low = _mm256_maddubs_epi16(_mm256_unpacklo_epi8(upper, lower), weights);
        const __m256i high = _mm256_maddubs_epi16(_mm256_unpackhi_epi8(upper, lower), weights);
        const __m256i packed = _mm256_packus_epi16(unscale<Bits>(low), unscale<Bits>(high));
        if (2 * pairs - i >= 32) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), packed);
        } else {
            uint8_t bytes[32];
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes), packed);
            for (int k = i; k < 2 * pairs; ++k) out[k] = bytes[k - i];
        }
    }
}

}  // namespace

const PairKernels kCutPairsAvx2 = {InstructionSet::Avx2, plan<5>, filterRow<5>, blendRows<5>};
const PairKernels kRoundedPairsAvx2 = {InstructionSet::Avx2, plan<6>, filterRow<6>, blendRows<6>};

}  // namespace vantor

#endif
