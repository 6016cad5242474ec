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

/// Lays a window of 16 bytes around each `perHalf` elements, or two adjacent ones where one is too small.
inline bool planWindows(const ColumnTaps& taps, int perHalf, ElementPlan& plan, uint8_t* offset) {
    int halfBytes = kVectorBytes;
    while (!placeWindows(taps, perHalf, static_cast<uint32_t>(halfBytes), plan.start, offset)) {
        halfBytes *= 2;
        if (halfBytes > 2 * kVectorBytes) return false;
    }
    plan.windowsPerVector = 2 * halfBytes / kVectorBytes;
    return true;
}

#if defined(__aarch64__)

/// Where a vector's bytes are in the table of its windows.
inline uint8x16_t indexOf(uint8x16_t offset, const ElementPlan& plan) {
    const auto upperBegin = static_cast<uint8_t>(plan.windowsPerVector * kVectorBytes / 2);
    return vaddq_u8(offset, vcombine_u8(vdup_n_u8(0), vdup_n_u8(upperBegin)));
}

/// The windows of both halves.
template <int Windows>
inline auto loadWindows(const uint8_t* lower, const uint8_t* upper) {
    if constexpr (Windows == 2) {
        return uint8x16x2_t{{vld1q_u8(lower), vld1q_u8(upper)}};
    } else {
        return uint8x16x4_t{{vld1q_u8(lower), vld1q_u8(lower + kVectorBytes), vld1q_u8(upper),
                             vld1q_u8(upper + kVectorBytes)}};
    }
}

inline uint8x16_t pick(const uint8x16x2_t& windows, uint8x16_t index) {
    return vqtbl2q_u8(windows, index);
}

inline uint8x16_t pick(const uint8x16x4_t& windows, uint8x16_t index) {
    return vqtbl4q_u8(windows, index);
}

/// Bytes of the elements that are gathered at once, and where they are looked up. A plan stores the first
/// index of each element.
using Bytes = uint8x16_t;
using Indices = uint8x16x4_t;
constexpr int kIndexBytes = 1;

inline bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
    if (!planWindows(taps, kLanes, plan, plan.shuffle)) return false;
    for (int i = 0; i < taps.columns; i += kVectorBytes) {
        vst1q_u8(plan.shuffle + i, indexOf(vld1q_u8(plan.shuffle + i), plan));
    }
    return true;
}

inline Indices loadIndices(const uint8_t* shuffle) {
    const uint8x16_t first = vld1q_u8(shuffle);
    return {{first, vaddq_u8(first, vdupq_n_u8(1)), vaddq_u8(first, vdupq_n_u8(2)),
             vaddq_u8(first, vdupq_n_u8(3))}};
}

template <int Windows>
inline auto loadElements(const uint8_t* row, const uint32_t* start) {
    return loadWindows<Windows>(row + start[0], row + start[1]);
}

#else

/// Where bytes are in the table of their windows: two hold those at even offsets, then those at odd ones, as
/// one instruction loads them.
inline uint8x16_t indexOf(uint8x16_t offset, const ElementPlan& plan) {
    if (plan.windowsPerVector == 2) return offset;
    const uint8x16_t isOdd = vandq_u8(offset, vdupq_n_u8(1));
    return vaddq_u8(vshrq_n_u8(offset, 1), vshlq_n_u8(isOdd, 4));
}

template <int Windows>
inline auto loadHalf(const uint8_t* from) {
    if constexpr (Windows == 2) {
        return vld1q_u8(from);
    } else {
        return vld2q_u8(from);
    }
}

/// g++ keeps tables in registers only if they are copied from the whole.
inline uint8x8_t pick(uint8x16_t windows, uint8x8_t index) {
    uint8x8x2_t table;
    __builtin_memcpy(&table, &windows, sizeof table);
    return vtbl2_u8(table, index);
}

inline uint8x8_t pick(const uint8x16x2_t& windows, uint8x8_t index) {
    uint8x8x4_t table;
    __builtin_memcpy(&table, &windows, sizeof table);
    return vtbl4_u8(table, index);
}

template <typename Half>
struct BothHalves {
    Half lower;
    Half upper;
};

template <int Windows>
inline auto loadWindows(const uint8_t* lower, const uint8_t* upper) {
    return BothHalves<decltype(loadHalf<Windows>(lower))>{loadHalf<Windows>(lower), loadHalf<Windows>(upper)};
}

template <typename Half>
inline uint8x16_t pick(const BothHalves<Half>& windows, uint8x16_t index) {
    return vcombine_u8(pick(windows.lower, vget_low_u8(index)), pick(windows.upper, vget_high_u8(index)));
}

/// As above. A plan stores all four indices of each element.
using Bytes = uint8x8_t;
using Indices = uint8x8x4_t;
constexpr int kIndexBytes = 4;

inline bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
    uint8_t offset[kWideStripColumns];
    if (!planWindows(taps, kLanes, plan, offset)) return false;
    for (int i = 0; i < taps.columns; i += kLanes) {
        const uint8x8_t byte = vld1_u8(offset + i);
        const uint8x16_t bytes = vcombine_u8(byte, vadd_u8(byte, vdup_n_u8(1)));
        const uint8x16_t first = indexOf(bytes, plan);
        const uint8x16_t last = indexOf(vaddq_u8(bytes, vdupq_n_u8(2)), plan);
        const Indices indices = {
            {vget_low_u8(first), vget_high_u8(first), vget_low_u8(last), vget_high_u8(last)}};
        vst4_u8(plan.shuffle + kIndexBytes * i, indices);
    }
    return true;
}

inline Indices loadIndices(const uint8_t* shuffle) {
    return vld4_u8(shuffle);
}

template <int Windows>
inline auto loadElements(const uint8_t* row, const uint32_t* start) {
    return loadHalf<Windows>(row + *start);
}

#endif

constexpr int kElements = sizeof(Bytes);     // gathered at once
constexpr int kStarts = kElements / kLanes;  // of their windows

/// The elements of consecutive columns, their first to fourth bytes each in a vector.
struct Elements {
    Bytes byte[4];
};

/// From the windows at `start`; those of `next` are fetched into the cache.
template <int Windows>
inline Elements gather(const uint8_t* row, const uint8_t* next, const uint32_t* start,
                       const Indices& indices) {
    __builtin_prefetch(next + *start);
    const auto windows = loadElements<Windows>(row, start);
    return {{pick(windows, indices.val[0]), pick(windows, indices.val[1]), pick(windows, indices.val[2]),
             pick(windows, indices.val[3])}};
}

template <int Half>
inline uint8x8_t half(uint8x16_t bytes) {
    return Half == 0 ? vget_low_u8(bytes) : vget_high_u8(bytes);
}

template <int Half>
inline uint8x8_t half(uint8x8_t bytes) {
    static_assert(Half == 0);
    return bytes;
}

/// g++ finds 64-bit ARM's instruction for upper halves only where it is called by name.
template <int Half, typename Vector>
inline uint16x8_t addHalf(uint16x8_t sum, Vector bytes) {
#if defined(__aarch64__)
    if constexpr (Half == 1) return vaddw_high_u8(sum, bytes);
#endif
    return vaddw_u8(sum, half<Half>(bytes));
}

/// Calls `filter` with the number of each half of Elements, as a constant.
template <typename Filter>
inline void forHalves(Filter&& filter) {
    filter(std::integral_constant<int, 0>());
    if constexpr (kElements > kLanes) filter(std::integral_constant<int, 1>());
}

/// Stores `count` bytes, in vectors that `make` returns one after another.
template <typename Make>
inline void storeVectors(uint8_t* out, int count, Make&& make) {
    const int rest = count % kVectorBytes;
    for (uint8_t* const end = out + (count - rest); out != end; out += kVectorBytes) vst1q_u8(out, make());
    if (rest > 0) {
        uint8_t copy[kVectorBytes];
        vst1q_u8(copy, make());
        __builtin_memcpy(out, copy, static_cast<unsigned>(rest));
    }
}

/// Loads a vector and moves on to the next.
inline uint8x16_t loadNext(const uint8_t*& from) {
    const uint8x16_t bytes = vld1q_u8(from);
    from += kVectorBytes;
    return bytes;
}

/// Keeps g++ from deriving a pointer into a plan from another one in each round of a loop.
template <typename T>
inline const T* independent(const T* pointer) {
    asm("" : "+r"(pointer));
    return pointer;
}

}  // namespace
}  // namespace vantor
