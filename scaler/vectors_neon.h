// Gathering of elements with 128-bit vectors, for the NEON tables. 64-bit ARM looks up 16 bytes in a table of
// up to 64; 32-bit ARM looks up eight in up to 32. So the lower eight bytes of a vector come from windows of
// their own, and the upper eight from others.
#pragma once

#include <arm_neon.h>

#include "scaler/gather_windows.h"

namespace vantor {
namespace {

constexpr int kVectorBytes = 16;
constexpr int kLanes = 8;  // of 16 bits

#if defined(__aarch64__)
constexpr bool kHalvesShareTable = true;
#else
constexpr bool kHalvesShareTable = false;
#endif

/// Lays windows of 16 bytes for vectors with `perHalf` elements in each half: one per half, or two adjacent
/// ones where one is too small. Element i begins at index[i] of the table that `pick` looks its half up in.
inline bool planWindows(const ColumnTaps& taps, int perHalf, ElementPlan& plan, uint8_t* index) {
    int halfBytes = kVectorBytes;
    while (!placeWindows(taps, perHalf, static_cast<uint32_t>(halfBytes), plan.start, index)) {
        halfBytes *= 2;
        if (halfBytes > 2 * kVectorBytes) return false;
    }
    plan.windowsPerVector = 2 * halfBytes / kVectorBytes;
    if (kHalvesShareTable) {
        for (int i = 0; i < taps.columns; i += 2 * perHalf) {
            uint8_t* const upper = index + i + perHalf;
            for (int k = 0; k < perHalf; ++k) upper[k] = static_cast<uint8_t>(upper[k] + halfBytes);
        }
    }
    return true;
}

/// The windows of both halves of vector `vector`; those of `next` are fetched into the cache.
template <int Windows>
inline auto loadWindows(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
    const uint32_t* const start = plan.start + 2 * vector;
    const uint8_t* const lower = row + start[0];
    const uint8_t* const upper = row + start[1];
    __builtin_prefetch(next + start[0]);
    if constexpr (Windows == 2) {
        return uint8x16x2_t{{vld1q_u8(lower), vld1q_u8(upper)}};
    } else {
        return uint8x16x4_t{{vld1q_u8(lower), vld1q_u8(lower + kVectorBytes), vld1q_u8(upper),
                             vld1q_u8(upper + kVectorBytes)}};
    }
}

/// The bytes at `index`, each half's in its own windows. g++ keeps the tables of 32-bit ARM in registers only
/// if they are copied from the whole.
inline uint8x16_t pick(const uint8x16x2_t& windows, uint8x16_t index) {
#if defined(__aarch64__)
    return vqtbl2q_u8(windows, index);
#else
    uint8x8x2_t table[2];
    __builtin_memcpy(table, &windows, sizeof table);
    return vcombine_u8(vtbl2_u8(table[0], vget_low_u8(index)), vtbl2_u8(table[1], vget_high_u8(index)));
#endif
}

inline uint8x16_t pick(const uint8x16x4_t& windows, uint8x16_t index) {
#if defined(__aarch64__)
    return vqtbl4q_u8(windows, index);
#else
    uint8x8x4_t table[2];
    __builtin_memcpy(table, &windows, sizeof table);
    return vcombine_u8(vtbl4_u8(table[0], vget_low_u8(index)), vtbl4_u8(table[1], vget_high_u8(index)));
#endif
}

/// The elements of 16 columns, their first to fourth bytes each in a vector.
struct Elements {
    uint8x16_t byte[4];
};

inline bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
    return planWindows(taps, kVectorBytes / 2, plan, plan.shuffle);
}

template <int Windows>
inline Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
    const auto windows = loadWindows<Windows>(plan, row, next, vector);
    const uint8x16_t first = vld1q_u8(plan.shuffle + vector * kVectorBytes);
    return {{pick(windows, first), pick(windows, vaddq_u8(first, vdupq_n_u8(1))),
             pick(windows, vaddq_u8(first, vdupq_n_u8(2))), pick(windows, vaddq_u8(first, vdupq_n_u8(3)))}};
}

/// Half 0 is the lower, half 1 the upper.
template <int Half>
inline uint8x8_t half(uint8x16_t bytes) {
    return Half == 0 ? vget_low_u8(bytes) : vget_high_u8(bytes);
}

/// Stores as many of the 16 bytes as lie before `end`.
inline void storeBefore(uint8_t* end, uint8_t* to, uint8x16_t bytes) {
    if (end - to >= kVectorBytes) return vst1q_u8(to, bytes);
    uint8_t copy[kVectorBytes];
    vst1q_u8(copy, bytes);
    __builtin_memcpy(to, copy, static_cast<unsigned>(end - to));
}

}  // namespace
}  // namespace vantor
