// 256-bit vectors, and how elements are gathered into them. For the files that are compiled for AVX2 alone.
#pragma once

#include "processor/lanes_avx2.h"
#include "scaler/gather_windows.h"

namespace vantor {
namespace {

struct Avx2 : Avx2Lanes {
    static constexpr int kLanes = kLanes16;  // one per column

    /// Rows whose blending shares what is loaded: 16 registers hold no more.
    static constexpr int kSharingRows = 1;

    /// Stores as many bytes as lie before `end`.
    static void storeBefore(uint8_t* end, uint8_t* to, Vector bytes) {
        if (end - to >= kBytes) return store(to, bytes);
        uint8_t copy[kBytes];
        store(copy, bytes);
        for (int i = 0; to + i < end; ++i) to[i] = copy[i];
    }

    /// With 16 registers the compiler knows best.
    static Vector inRegister(Vector loaded) { return loaded; }

    /// A byte to each lane.
    static Vector widen(const uint8_t* lanes) {
        return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes)));
    }

    /// Packs the 16-bit lanes of two vectors to bytes, in order.
    static Vector packInOrder(Vector left, Vector right) {
        return _mm256_permute4x64_epi64(pack16(left, right), 0b11011000);
    }

    /// a x b + c x d, pairs of 16-bit lanes summed to 32 bits.
    static Vector sumOfProducts16(Vector a, Vector b, Vector c, Vector d) {
        return add32(multiplyAdd16(a, b), multiplyAdd16(c, d));
    }

    /// Such sums divided by 65536 and rounded, saturated to 16 bits. The last bit is rounded off by a
    /// rounding multiplication, in 16 bits: saturation before it does not change what bytes are left.
    static Vector packRounded32(Vector low, Vector high) {
        const Vector halves = pack32(shiftRightSigned32<15>(low), shiftRightSigned32<15>(high));
        return multiplyRounded16(halves, broadcast16(1 << 14));
    }

    /// The entry of each lane's phase.
    static Vector lookUp(const uint16_t (&table)[32], const uint8_t* phases) {
        uint16_t lanes[kLanes];
        for (int i = 0; i < kLanes; ++i) lanes[i] = table[phases[i]];
        return load(lanes);
    }

    /// The elements of a vector's columns: bytes 0 and 2 of each in a lane of `even`, 1 and 3 in a lane of
    /// `odd`.
    struct Elements {
        Vector even;
        Vector odd;
    };

    static constexpr int kWindowBytes = 16;
    static constexpr int kMaxWindows = 8;

    /// One window of 16 bytes for each half of a vector, or two or four: shuffles stay within the halves.
    /// With one there are shuffle bytes for all even lanes, then for all odd ones; with more, for the even
    /// and odd lanes of the first four columns of each half, then of the last four.
    static bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
        uint8_t offset[kWideStripColumns];
        plan.windowsPerVector = 2;
        while (!placeWindows(taps, kLanes / plan.windowsPerVector, kWindowBytes, plan.start, offset)) {
            plan.windowsPerVector *= 2;
            if (plan.windowsPerVector > kMaxWindows) return false;
        }
        for (int i = 0; i < taps.columns; i += kLanes) {
            const Vector first = widen(offset + i);
            const Vector pair = bitOr(first, shiftLeft16<8>(first));
            const Vector even = _mm256_add_epi8(pair, broadcast16(0x0200));
            const Vector odd = _mm256_add_epi8(pair, broadcast16(0x0301));
            const bool hasOne = plan.windowsPerVector == 2;
            store(plan.shuffle + 4 * i, hasOne ? even : _mm256_unpacklo_epi64(even, odd));
            store(plan.shuffle + 4 * i + kBytes, hasOne ? odd : _mm256_unpackhi_epi64(even, odd));
        }
        return true;
    }

    /// Shuffles a window in each half.
    static Vector pick(const uint8_t* row, uint32_t low, uint32_t high, Vector shuffle) {
        const __m128i lower = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + low));
        const __m128i upper = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + high));
        return _mm256_shuffle_epi8(_mm256_inserti128_si256(_mm256_castsi128_si256(lower), upper, 1), shuffle);
    }

    /// Four columns of each half, even lanes and then odd ones, from the half's windows `first` and on.
    template <int WindowsPerHalf>
    static Vector pickFours(const uint8_t* row, const uint32_t* start, int first, Vector shuffle) {
        const uint32_t* low = start + first;
        const uint32_t* high = low + WindowsPerHalf;
        const Vector left = pick(row, low[0], high[0], shuffle);
        if (WindowsPerHalf == 2) return left;
        return _mm256_blend_epi32(left, pick(row, low[1], high[1], shuffle), 0b10101010);
    }

    /// Gathers the elements of vector `vector` from `row`, and fetches those of `next` into the cache.
    template <int Windows>
    static Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
        const uint32_t* start = plan.start + vector * Windows;
        const Vector first = load(plan.shuffle + vector * 2 * kBytes);
        const Vector second = load(plan.shuffle + vector * 2 * kBytes + kBytes);
        for (int w = 0; w < Windows; w += 4) {
            _mm_prefetch(reinterpret_cast<const char*>(next + start[w]), _MM_HINT_T0);
        }
        if (Windows == 2)
            return {pick(row, start[0], start[1], first), pick(row, start[0], start[1], second)};
        const Vector left = pickFours<Windows / 2>(row, start, 0, first);
        const Vector right = pickFours<Windows / 2>(row, start, Windows / 4, second);
        return {_mm256_unpacklo_epi64(left, right), _mm256_unpackhi_epi64(left, right)};
    }

    template <typename Filter>
    static void withWindows(const ElementPlan& plan, Filter&& filter) {
        vantor::withWindows<2, 4, 8>(plan, filter);
    }
};

}  // namespace
}  // namespace vantor
