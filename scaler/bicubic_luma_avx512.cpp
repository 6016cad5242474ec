// Bicubic luma with 512-bit vectors of 32 columns in 16-bit lanes.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/bicubic_luma_kernels.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 64;
constexpr int kVectorLanes = 32;
constexpr int kMostWindows = 4;

bool plan(const ColumnTaps& taps, LumaPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.taps = taps;
    plan.windowsPerVector = 1;
    while (!placeWindows(taps, kVectorLanes / plan.windowsPerVector, kVectorBytes, plan.start, offset)) {
        plan.windowsPerVector *= 2;
        if (plan.windowsPerVector > kMostWindows) return false;
    }
    for (int i = 0; i < taps.columns; i += kVectorLanes) {
        const __m512i first =
            _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<__m256i*>(offset + i)));
        const __m512i pair = _mm512_or_si512(first, _mm512_slli_epi16(first, 8));
        uint8_t* const shuffle = plan.shuffle + i / kVectorLanes * 2 * kVectorBytes;
        _mm512_store_si512(shuffle, _mm512_add_epi8(pair, _mm512_set1_epi16(0x0200)));
        _mm512_store_si512(shuffle + kVectorBytes, _mm512_add_epi8(pair, _mm512_set1_epi16(0x0301)));
        const __m256i phase = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(taps.phase + i));
        _mm512_store_si512(plan.phase + i, _mm512_slli_epi16(_mm512_cvtepu8_epi16(phase), 10));
    }
    return true;
}

/// The bytes of one vector's elements that `shuffle` names: lanes from window w on come from that window.
template <int Windows>
inline __m512i gather(const __m512i (&window)[kMostWindows], __m512i shuffle) {
    __m512i picked = _mm512_permutexvar_epi8(shuffle, window[0]);
    for (int w = 1; w < Windows; ++w) {
        const __mmask64 lanes = ~__mmask64{0} << (w * kVectorBytes / Windows);
        picked = _mm512_mask_permutexvar_epi8(picked, lanes, shuffle, window[w]);
    }
    return picked;
}

/// Weights for the two bytes of each pair.
inline __m512i pairWeights(int first, int second) {
    return _mm512_set1_epi16(static_cast<int16_t>((first & 255) | (second * 256)));
}

/// The cubic before its clamp in 32 lanes. `even` holds the taps p0 and p2 of each lane as a pair of bytes,
/// `odd` p1 and p3; `phase` is in 1/32768. A multiplication by it keeps the upper 16 bits and so divides by
/// 64: where 32 is wanted, the other factor is doubled.
inline __m512i cubicLanes(__m512i even, __m512i odd, __m512i phase) {
    const __m512i cubeTwice = _mm512_add_epi16(_mm512_maddubs_epi16(even, pairWeights(-2, -6)),
                                               _mm512_maddubs_epi16(odd, pairWeights(6, 2)));
    const __m512i squareTwice = _mm512_add_epi16(_mm512_maddubs_epi16(even, pairWeights(4, 8)),
                                                 _mm512_maddubs_epi16(odd, pairWeights(-10, -2)));
    const __m512i third = _mm512_mulhi_epi16(cubeTwice, phase);
    const __m512i second =
        _mm512_mulhi_epi16(_mm512_add_epi16(squareTwice, _mm512_add_epi16(third, third)), phase);
    const __m512i slope = _mm512_maddubs_epi16(even, pairWeights(-1, 1));
    const __m512i step = _mm512_mulhi_epi16(_mm512_add_epi16(slope, second), phase);
    return _mm512_add_epi16(_mm512_and_si512(odd, _mm512_set1_epi16(255)), step);
}

template <int Windows>
inline __m512i filterVector(const LumaPlan& plan, const uint8_t* row, int vector) {
    __m512i window[kMostWindows];
    for (int w = 0; w < Windows; ++w) {
        window[w] = _mm512_loadu_si512(row + plan.start[vector * Windows + w]);
    }
    const __m512i even = _mm512_load_si512(plan.shuffle + vector * 2 * kVectorBytes);
    const __m512i odd = _mm512_load_si512(plan.shuffle + vector * 2 * kVectorBytes + kVectorBytes);
    return cubicLanes(gather<Windows>(window, even), gather<Windows>(window, odd),
                      _mm512_load_si512(plan.phase + vector * kVectorLanes));
}

inline void prefetch(const uint8_t* at) {
    _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T0);
}

template <int Windows>
void filterVectors(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    const __m512i inOrder = _mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7);
    for (int i = 0; i < plan.taps.columns; i += kVectorColumns) {
        const int vector = i / kVectorLanes;
        for (int w = 0; w < 2 * Windows; ++w) prefetch(next + plan.start[vector * Windows + w]);
        const __m512i packed = _mm512_packus_epi16(filterVector<Windows>(plan, row, vector),
                                                   filterVector<Windows>(plan, row, vector + 1));
        _mm512_storeu_si512(out + i, _mm512_permutexvar_epi64(inOrder, packed));
    }
}

void filterRow(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    switch (plan.windowsPerVector) {
        case 1:
            return filterVectors<1>(plan, row, next, out);
        case 2:
            return filterVectors<2>(plan, row, next, out);
        default:
            return filterVectors<4>(plan, row, next, out);
    }
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const __m512i phases = _mm512_set1_epi16(static_cast<int16_t>(phase << 10));
    for (int i = 0; i < columns; i += kVectorBytes) {
        const __m512i p0 = _mm512_loadu_si512(rows[0] + i);
        const __m512i p1 = _mm512_loadu_si512(rows[1] + i);
        const __m512i p2 = _mm512_loadu_si512(rows[2] + i);
        const __m512i p3 = _mm512_loadu_si512(rows[3] + i);
        const __m512i low = cubicLanes(_mm512_unpacklo_epi8(p0, p2), _mm512_unpacklo_epi8(p1, p3), phases);
        const __m512i high = cubicLanes(_mm512_unpackhi_epi8(p0, p2), _mm512_unpackhi_epi8(p1, p3), phases);
        const int left = columns - i;
        const __mmask64 columnsLeft = left < kVectorBytes ? (__mmask64{1} << left) - 1 : ~__mmask64{0};
        _mm512_mask_storeu_epi8(out + i, columnsLeft, _mm512_packus_epi16(low, high));
    }
}

}  // namespace

const LumaKernels kLumaAvx512 = {InstructionSet::Avx512, plan, filterRow, blendRows};

}  // namespace vantor

#endif
