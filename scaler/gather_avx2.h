// Gathering of elements with 256-bit vectors. For the files that are compiled for AVX2 alone.
#pragma once

#include <immintrin.h>

#include "scaler/gather_windows.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 32;
constexpr int kLanes = 16;  // of 16 bits, a column each
constexpr int kHalfLanes = 8;
constexpr int kWindowBytes = 16;

inline __m256i load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

inline void store(void* to, __m256i bytes) {
    _mm256_storeu_si256(static_cast<__m256i*>(to), bytes);
}

inline __m256i widen(const uint8_t* lanes) {
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes)));
}

/// The elements of 16 columns: bytes 0 and 2 of each in a lane of `even`, 1 and 3 in a lane of `odd`.
struct Elements {
    __m256i even;
    __m256i odd;
};

/// One window of 16 bytes for each half of a vector, or two or four: shuffles stay within the halves. With
/// one there are shuffle bytes for all even lanes, then for all odd ones; with more, for the even and odd
/// lanes of the first four columns of each half, then of the last four.
inline bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.windowsPerVector = 2;
    while (!placeWindows(taps, kLanes / plan.windowsPerVector, kWindowBytes, plan.start, offset)) {
        plan.windowsPerVector *= 2;
        if (plan.windowsPerVector > 8) return false;
    }
    for (int i = 0; i < taps.columns; i += kLanes) {
        const __m256i first = widen(offset + i);
        const __m256i pair = _mm256_or_si256(first, _mm256_slli_epi16(first, 8));
        const __m256i even = _mm256_add_epi8(pair, _mm256_set1_epi16(0x0200));
        const __m256i odd = _mm256_add_epi8(pair, _mm256_set1_epi16(0x0301));
        const bool hasOne = plan.windowsPerVector == 2;
        store(plan.shuffle + 4 * i, hasOne ? even : _mm256_unpacklo_epi64(even, odd));
        store(plan.shuffle + 4 * i + kVectorBytes, hasOne ? odd : _mm256_unpackhi_epi64(even, odd));
    }
    return true;
}

/// Shuffles a window in each half.
inline __m256i pick(const uint8_t* row, uint32_t low, uint32_t high, __m256i shuffle) {
    const __m128i lower = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + low));
    const __m128i upper = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + high));
    return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(lower), upper, 1), shuffle);
}

/// Four columns of each half, even lanes and then odd ones, from the half's windows `first` and on.
template <int WindowsPerHalf>
inline __m256i pickFours(const uint8_t* row, const uint32_t* start, int first, __m256i shuffle) {
    const uint32_t* low = start + first;
    const uint32_t* high = low + WindowsPerHalf;
    const __m256i left = pick(row, low[0], high[0], shuffle);
    if (WindowsPerHalf == 2) return left;
    return _mm256_blend_epi32(left, pick(row, low[1], high[1], shuffle), 0b10101010);
}

/// Gathers the elements of vector `vector` from `row`, and fetches those of `next` into the cache.
template <int Windows>
inline Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
    const uint32_t* start = plan.start + vector * Windows;
    const uint8_t* shuffle = plan.shuffle + vector * 2 * kVectorBytes;
    const __m256i first = load(shuffle);
    const __m256i second = load(shuffle + kVectorBytes);
    for (int w = 0; w < Windows; w += 4) {
        _mm_prefetch(reinterpret_cast<const char*>(next + start[w]), _MM_HINT_T0);
    }
    if (Windows == 2) return {pick(row, start[0], start[1], first), pick(row, start[0], start[1], second)};
    const __m256i left = pickFours<Windows / 2>(row, start, 0, first);
    const __m256i right = pickFours<Windows / 2>(row, start, Windows / 4, second);
    return {_mm256_unpacklo_epi64(left, right), _mm256_unpackhi_epi64(left, right)};
}

template <int Value>
struct Count {
    static constexpr int value = Value;
};

/// Calls `filter` with the plan's number of windows as a constant.
template <typename Filter>
inline void withWindows(const ElementPlan& plan, Filter&& filter) {
    switch (plan.windowsPerVector) {
        case 2:
            return filter(Count<2>());
        case 4:
            return filter(Count<4>());
        default:
            return filter(Count<8>());
    }
}

/// Packs the words of two vectors to bytes, in order.
inline __m256i pack(__m256i left, __m256i right) {
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(left, right), 0b11011000);
}

/// Stores as many of the 32 bytes as lie before `end`.
inline void storeBefore(uint8_t* end, uint8_t* to, __m256i bytes) {
    if (end - to >= kVectorBytes) return store(to, bytes);
    uint8_t copy[kVectorBytes];
    store(copy, bytes);
    for (int i = 0; to + i < end; ++i) to[i] = copy[i];
}

}  // namespace
}  // namespace vantor
