// Gathering of elements with 512-bit vectors. For the files that are compiled for AVX-512 alone.
#pragma once

#include <immintrin.h>

#include "scaler/gather_windows.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 64;
constexpr int kLanes = 32;  // of 16 bits, a column each
constexpr int kMostWindows = 4;

inline __m512i widen(const uint8_t* lanes) {
    return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(lanes)));
}

/// The elements of 32 columns: bytes 0 and 2 of each in a lane of `even`, 1 and 3 in a lane of `odd`.
struct Elements {
    __m512i even;
    __m512i odd;
};

/// One window of 64 bytes a vector, or two or four. For each vector the shuffle bytes of all even lanes, then
/// of all odd ones.
inline bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.windowsPerVector = 1;
    while (!placeWindows(taps, kLanes / plan.windowsPerVector, kVectorBytes, plan.start, offset)) {
        plan.windowsPerVector *= 2;
        if (plan.windowsPerVector > kMostWindows) return false;
    }
    for (int i = 0; i < taps.columns; i += kLanes) {
        const __m512i first = widen(offset + i);
        const __m512i pair = _mm512_or_si512(first, _mm512_slli_epi16(first, 8));
        uint8_t* const shuffle = plan.shuffle + 4 * i;
        _mm512_store_si512(shuffle, _mm512_add_epi8(pair, _mm512_set1_epi16(0x0200)));
        _mm512_store_si512(shuffle + kVectorBytes, _mm512_add_epi8(pair, _mm512_set1_epi16(0x0301)));
    }
    return true;
}

/// The bytes that `shuffle` names: lanes from window w on come from that window.
template <int Windows>
inline __m512i pick(const __m512i (&window)[kMostWindows], __m512i shuffle) {
    __m512i picked = _mm512_permutexvar_epi8(shuffle, window[0]);
    for (int w = 1; w < Windows; ++w) {
        const __mmask64 lanes = ~__mmask64{0} << (w * kVectorBytes / Windows);
        picked = _mm512_mask_permutexvar_epi8(picked, lanes, shuffle, window[w]);
    }
    return picked;
}

/// Gathers the elements of vector `vector` from `row`, and fetches those of `next` into the cache.
template <int Windows>
inline Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
    const uint32_t* start = plan.start + vector * Windows;
    __m512i window[kMostWindows];
    for (int w = 0; w < Windows; ++w) {
        window[w] = _mm512_loadu_si512(row + start[w]);
        _mm_prefetch(reinterpret_cast<const char*>(next + start[w]), _MM_HINT_T0);
    }
    const uint8_t* shuffle = plan.shuffle + vector * 2 * kVectorBytes;
    return {pick<Windows>(window, _mm512_load_si512(shuffle)),
            pick<Windows>(window, _mm512_load_si512(shuffle + kVectorBytes))};
}

template <int Value>
struct Count {
    static constexpr int value = Value;
};

/// Calls `filter` with the plan's number of windows as a constant.
template <typename Filter>
inline void withWindows(const ElementPlan& plan, Filter&& filter) {
    switch (plan.windowsPerVector) {
        case 1:
            return filter(Count<1>());
        case 2:
            return filter(Count<2>());
        default:
            return filter(Count<4>());
    }
}

/// Packs the words of two vectors to bytes, in order.
inline __m512i pack(__m512i left, __m512i right) {
    return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7),
                                    _mm512_packus_epi16(left, right));
}

/// Stores as many of the 64 bytes as lie before `end`.
inline void storeBefore(uint8_t* end, uint8_t* to, __m512i bytes) {
    const auto count = end - to;
    const __mmask64 stored = count < kVectorBytes ? (__mmask64{1} << count) - 1 : ~__mmask64{0};
    _mm512_mask_storeu_epi8(to, stored, bytes);
}

}  // namespace
}  // namespace vantor
