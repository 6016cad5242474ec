// Bicubic luma with 256-bit vectors of 16 columns in 16-bit lanes. Two vectors make 32 bytes: the first holds
// columns 0 to 7 and 16 to 23 in its halves, the second 8 to 15 and 24 to 31, as the packing wants them.
#if defined(__x86_64__)

#include <immintrin.h>

#include "scaler/bicubic_luma_kernels.h"

namespace vantor {
namespace {

constexpr int kWindowBytes = 16;
constexpr int kGroup = 32;  // columns of two vectors

/// Where each eight columns of a group have their lanes.
constexpr int kPlaceOfEight[] = {0, 2, 1, 3};

__m128i widen(const uint8_t* eight) {
    return _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(eight)));
}

void store(void* to, __m128i bytes) {
    _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

/// Shuffle bytes for eight columns: pairs of even taps, pairs of odd taps. With a window for all eight, a
/// vector has the even pairs of its 16 columns, then the odd ones. With two windows of four columns, each has
/// its four even pairs, then its four odd ones; the windows 0 and 4, 1 and 5, 2 and 6, 3 and 7 share vectors.
void planEight(const uint8_t* offset, bool hasOneWindow, int place, uint8_t* shuffle) {
    const __m128i first = widen(offset);
    const __m128i pair = _mm_or_si128(first, _mm_slli_epi16(first, 8));
    const __m128i even = _mm_add_epi8(pair, _mm_set1_epi16(0x0200));
    const __m128i odd = _mm_add_epi8(pair, _mm_set1_epi16(0x0301));
    uint8_t* const to = shuffle + place / 2 * 64 + place % 2 * 16;
    store(to, hasOneWindow ? even : _mm_unpacklo_epi64(even, odd));
    store(to + 32, hasOneWindow ? odd : _mm_unpackhi_epi64(even, odd));
}

bool plan(const ColumnTaps& taps, LumaPlan& plan) {
    uint8_t offset[kStripColumns];
    plan.taps = taps;
    plan.windowsPerVector = 2;
    if (!placeWindows(taps, 8, kWindowBytes, plan.start, offset)) {
        plan.windowsPerVector = 4;
        if (!placeWindows(taps, 4, kWindowBytes, plan.start, offset)) return false;
    }
    for (int i = 0; i < taps.columns; i += 8) {
        const int place = i / kGroup * 4 + kPlaceOfEight[i % kGroup / 8];
        planEight(offset + i, plan.windowsPerVector == 2, place, plan.shuffle);
        store(plan.phase + 8 * place, _mm_slli_epi16(widen(taps.phase + i), 10));
    }
    return true;
}

__m256i windows(const uint8_t* low, const uint8_t* high) {
    return _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(low))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(high)), 1);
}

__m256i load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

/// Weights for the two bytes of each pair.
__m256i pairWeights(int first, int second) {
    return _mm256_set1_epi16(static_cast<int16_t>((first & 255) | (second * 256)));
}

/// The cubic before its clamp in 16 lanes. `even` holds the taps p0 and p2 of each lane as a pair of bytes,
/// `odd` p1 and p3; `phase` is in 1/32768. A multiplication by it keeps the upper 16 bits and so divides by
/// 64: where 32 is wanted, the other factor is doubled.
__m256i cubicLanes(__m256i even, __m256i odd, __m256i phase) {
    const __m256i cubeTwice = _mm256_add_epi16(_mm256_maddubs_epi16(even, pairWeights(-2, -6)),
                                               _mm256_maddubs_epi16(odd, pairWeights(6, 2)));
    const __m256i squareTwice = _mm256_add_epi16(_mm256_maddubs_epi16(even, pairWeights(4, 8)),
                                                 _mm256_maddubs_epi16(odd, pairWeights(-10, -2)));
    const __m256i third = _mm256_mulhi_epi16(cubeTwice, phase);
    const __m256i second =
        _mm256_mulhi_epi16(_mm256_add_epi16(squareTwice, _mm256_add_epi16(third, third)), phase);
    const __m256i slope = _mm256_maddubs_epi16(even, pairWeights(-1, 1));
    const __m256i step = _mm256_mulhi_epi16(_mm256_add_epi16(slope, second), phase);
    return _mm256_add_epi16(_mm256_and_si256(odd, _mm256_set1_epi16(255)), step);
}

/// The even and odd taps of one vector's columns.
struct Taps {
    __m256i even;
    __m256i odd;
};

Taps gatherEights(const uint8_t* row, const uint32_t* start, const uint8_t* shuffle) {
    const __m256i window = windows(row + start[0], row + start[2]);
    return {_mm256_shuffle_epi8(window, load(shuffle)), _mm256_shuffle_epi8(window, load(shuffle + 32))};
}

Taps gatherFours(const uint8_t* row, const uint32_t* start, const uint8_t* shuffle) {
    const __m256i left = _mm256_shuffle_epi8(windows(row + start[0], row + start[4]), load(shuffle));
    const __m256i right = _mm256_shuffle_epi8(windows(row + start[1], row + start[5]), load(shuffle + 32));
    return {_mm256_unpacklo_epi64(left, right), _mm256_unpackhi_epi64(left, right)};
}

template <int WindowsPerVector>
__m256i filterVector(const LumaPlan& plan, const uint8_t* row, int group, int half) {
    const uint32_t* start = plan.start + group * 2 * WindowsPerVector + half * WindowsPerVector / 2;
    const uint8_t* shuffle = plan.shuffle + group * 128 + half * 64;
    const Taps taps =
        WindowsPerVector == 2 ? gatherEights(row, start, shuffle) : gatherFours(row, start, shuffle);
    return cubicLanes(taps.even, taps.odd, load(plan.phase + group * kGroup + half * 16));
}

inline void prefetch(const uint8_t* at) {
    _mm_prefetch(reinterpret_cast<const char*>(at), _MM_HINT_T0);
}

template <int WindowsPerVector>
void filterVectors(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    for (int group = 0; group * kGroup < plan.taps.columns; ++group) {
        for (int w = 0; w < 2 * WindowsPerVector; w += 2) {
            prefetch(next + plan.start[group * 2 * WindowsPerVector + w]);
        }
        const __m256i packed = _mm256_packus_epi16(filterVector<WindowsPerVector>(plan, row, group, 0),
                                                   filterVector<WindowsPerVector>(plan, row, group, 1));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + group * kGroup), packed);
    }
}

void filterRow(const LumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    if (plan.windowsPerVector == 2) {
        filterVectors<2>(plan, row, next, out);
    } else {
        filterVectors<4>(plan, row, next, out);
    }
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const __m256i phases = _mm256_set1_epi16(static_cast<int16_t>(phase << 10));
    for (int i = 0; i < columns; i += kGroup) {
        const __m256i p0 = load(rows[0] + i);
        const __m256i p1 = load(rows[1] + i);
        const __m256i p2 = load(rows[2] + i);
        const __m256i p3 = load(rows[3] + i);
        const __m256i low = cubicLanes(_mm256_unpacklo_epi8(p0, p2), _mm256_unpacklo_epi8(p1, p3), phases);
        const __m256i high = cubicLanes(_mm256_unpackhi_epi8(p0, p2), _mm256_unpackhi_epi8(p1, p3), phases);
        const __m256i packed = _mm256_packus_epi16(low, high);
        if (columns - i >= kGroup) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + i), packed);
        } else {
            alignas(32) uint8_t bytes[kGroup];
            _mm256_store_si256(reinterpret_cast<__m256i*>(bytes), packed);
            for (int column = i; column < columns; ++column) out[column] = bytes[column - i];
        }
    }
}

}  // namespace

const LumaKernels kLumaAvx2 = {InstructionSet::Avx2, plan, filterRow, blendRows};

}  // namespace vantor

#endif
