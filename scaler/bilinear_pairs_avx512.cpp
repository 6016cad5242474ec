// Bilinear UV pairs with 512-bit vectors of 16 pairs, U and V in 16-bit lanes.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/bilinear_pairs_kernels.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 64;
constexpr int kVectorPairs = 16;
constexpr int kMostWindows = 4;

/// The weights 2^Bits - t and t, as bytes, in each 32-bit lane twice: t is the lane's low byte.
inline __m512i weightLanes(__m512i t, int bits) {
    const __m512i both = _mm512_or_si512(_mm512_slli_epi32(t, 8), _mm512_slli_epi32(t, 24));
    return _mm512_add_epi8(
        _mm512_sub_epi8(_mm512_set1_epi16(static_cast<int16_t>(1 << bits)), _mm512_srli_epi32(both, 8)),
        both);
}

template <int Bits>
bool plan(const ColumnTaps& taps, PairPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.taps = taps;
    plan.windowsPerVector = 1;
    while (!placeWindows(taps, kVectorPairs / plan.windowsPerVector, kVectorBytes, plan.start, offset)) {
        plan.windowsPerVector *= 2;
        if (plan.windowsPerVector > kMostWindows) return false;
    }
    const auto load = [](const uint8_t* from) {
        return _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from)));
    };
    const __m512i fourfold = _mm512_set1_epi32(0x01010101);
    const __m512i uuvv = _mm512_set1_epi32(0x03010200);
    for (int i = 0; i < taps.columns; i += kVectorPairs) {
        const __m512i first = _mm512_mullo_epi32(load(offset + i), fourfold);
        _mm512_store_si512(plan.shuffle + 4 * i, _mm512_add_epi8(first, uuvv));
        _mm512_store_si512(plan.weights + 4 * i, weightLanes(load(taps.phase + i), Bits));
    }
    return true;
}

/// What is left of weighted sums when the weights' scale is taken out: cut, or rounded.
template <int Bits>
inline __m512i unscale(__m512i sums) {
    if constexpr (Bits == 5) return _mm512_srli_epi16(sums, 5);
    return _mm512_mulhrs_epi16(sums, _mm512_set1_epi16(1 << (15 - Bits)));
}

template <int Bits, int Windows>
inline __m512i filterVector(const PairPlan& plan, const uint8_t* row, int vector) {
    const uint32_t* start = plan.start + vector * Windows;
    const __m512i shuffle = _mm512_load_si512(plan.shuffle + vector * kVectorBytes);
    __m512i elements = _mm512_permutexvar_epi8(shuffle, _mm512_loadu_si512(row + start[0]));
    for (int w = 1; w < Windows; ++w) {
        const __mmask64 lanes = ~__mmask64{0} << (w * kVectorBytes / Windows);
        elements = _mm512_mask_permutexvar_epi8(elements, lanes, shuffle, _mm512_loadu_si512(row + start[w]));
    }
    const __m512i weights = _mm512_load_si512(plan.weights + vector * kVectorBytes);
    return unscale<Bits>(_mm512_maddubs_epi16(elements, weights));
}

inline void prefetch(const uint8_t* at) {
    _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T0);
}

template <int Bits, int Windows>
void filterVectors(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    for (int vector = 0; vector * kVectorPairs < plan.taps.columns; vector += 2) {
        for (int w = 0; w < 2 * Windows; ++w) prefetch(next + plan.start[vector * Windows + w]);
        const __m512i packed = _mm512_packus_epi16(filterVector<Bits, Windows>(plan, row, vector),
                                                   filterVector<Bits, Windows>(plan, row, vector + 1));
        _mm512_storeu_si512(out + vector * kVectorPairs * 2, _mm512_permutexvar_epi64(inOrder, packed));
    }
}

template <int Bits>
void filterRow(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    switch (plan.windowsPerVector) {
        case 1:
            return filterVectors<Bits, 1>(plan, row, next, out);
        case 2:
            return filterVectors<Bits, 2>(plan, row, next, out);
        default:
            return filterVectors<Bits, 4>(plan, row, next, out);
    }
}

template <int Bits>
void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
    const __m512i weights = weightLanes(_mm512_set1_epi32(weight), Bits);
    for (int i = 0; i < 2 * pairs; i += kVectorBytes) {
        const __m512i upper = _mm512_loadu_si512(rows[0] + i);
        const __m512i lower = _mm512_loadu_si512(rows[1] + i);
        const __m512i low = _mm512_maddubs_epi16(_mm512_unpacklo_epi8(upper, lower), weights);
        const __m512i high = _mm512_maddubs_epi16(_mm512_unpackhi_epi8(upper, lower), weights);
        const int left = 2 * pairs - i;
        const __mmask64 bytesLeft = left < kVectorBytes ? (__mmask64{1} << left) - 1 : ~__mmask64{0};
        _mm512_mask_storeu_epi8(out + i, bytesLeft,
                                _mm512_packus_epi16(unscale<Bits>(low), unscale<Bits>(high)));
    }
}

}  // namespace

const PairKernels kCutPairsAvx512 = {InstructionSet::Avx512, plan<5>, filterRow<5>, blendRows<5>};
const PairKernels kRoundedPairsAvx512 = {InstructionSet::Avx512, plan<6>, filterRow<6>, blendRows<6>};

}  // namespace vantor

#endif
