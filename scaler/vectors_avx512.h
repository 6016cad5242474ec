// 512-bit vectors, and how elements are gathered into them. For the files that are compiled for AVX-512
// alone.
#pragma once

#include "processor/lanes_avx512.h"
#include "scaler/gather_windows.h"

namespace vantor {
namespace {

struct Avx512 : Avx512Lanes {
    static constexpr int kLanes = kLanes16;  // one per column

    /// Rows whose blending shares what is loaded.
    static constexpr int kSharingRows = 3;

    /// Stores as many bytes as lie before `end`.
    static void storeBefore(uint8_t* end, uint8_t* to, Vector bytes) {
        const auto count = end - to;
        const __mmask64 stored = count < kBytes ? (__mmask64{1} << count) - 1 : ~__mmask64{0};
        _mm512_mask_storeu_epi8(to, stored, bytes);
    }

    /// What is used several times; g++ would load it again for each use.
    static Vector inRegister(Vector loaded) {
        asm("" : "+v"(loaded));
        return loaded;
    }

    /// A byte to each lane.
    static Vector widen(const uint8_t* lanes) {
        return _mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(lanes)));
    }

    /// Packs the 16-bit lanes of two vectors to bytes, in order.
    static Vector packInOrder(Vector left, Vector right) {
        return _mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), pack16(left, right));
    }

    /// a x b + c x d + 32768, pairs of 16-bit lanes summed to 32 bits.
    static Vector sumOfProducts16(Vector a, Vector b, Vector c, Vector d) {
        return _mm512_dpwssd_epi32(_mm512_dpwssd_epi32(broadcast32(1 << 15), a, b), c, d);
    }

    /// Such sums divided by 65536, saturated to 16 bits.
    static Vector packRounded32(Vector low, Vector high) {
        return pack32(shiftRightSigned32<16>(low), shiftRightSigned32<16>(high));
    }

    /// The entry of each lane's phase.
    static Vector lookUp(const uint16_t (&table)[32], const uint8_t* phases) {
        return _mm512_permutexvar_epi16(widen(phases), load(table));
    }

    /// The elements of a vector's columns: bytes 0 and 2 of each in a lane of `even`, 1 and 3 in a lane of
    /// `odd`.
    struct Elements {
        Vector even;
        Vector odd;
    };

    static constexpr int kMaxWindows = 4;

    /// One window of 64 bytes per vector, or two or four. For each vector the shuffle bytes of all even
    /// lanes, then of all odd ones.
    static bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
        uint8_t offset[kWideStripColumns];
        plan.windowsPerVector = 1;
        while (!placeWindows(taps, kLanes / plan.windowsPerVector, kBytes, plan.start, offset)) {
            plan.windowsPerVector *= 2;
            if (plan.windowsPerVector > kMaxWindows) return false;
        }
        for (int i = 0; i < taps.columns; i += kLanes) {
            const Vector first = widen(offset + i);
            const Vector pair = bitOr(first, shiftLeft16<8>(first));
            store(plan.shuffle + 4 * i, _mm512_add_epi8(pair, broadcast16(0x0200)));
            store(plan.shuffle + 4 * i + kBytes, _mm512_add_epi8(pair, broadcast16(0x0301)));
        }
        return true;
    }

    /// The bytes that `shuffle` names: lanes from window w on come from that window.
    template <int Windows>
    static Vector pick(const Vector (&window)[Windows], Vector shuffle) {
        Vector picked = _mm512_permutexvar_epi8(shuffle, window[0]);
        for (int w = 1; w < Windows; ++w) {
            const __mmask64 lanes = ~((__mmask64{1} << (w * kBytes / Windows)) - 1);
            picked = _mm512_mask_permutexvar_epi8(picked, lanes, shuffle, window[w]);
        }
        return picked;
    }

    /// Gathers the elements of vector `vector` from `row`, and fetches those of `next` into the cache.
    template <int Windows>
    static Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* next, int vector) {
        const uint32_t* start = plan.start + vector * Windows;
        Vector window[Windows];
        for (int w = 0; w < Windows; ++w) {
            window[w] = load(row + start[w]);
            _mm_prefetch(reinterpret_cast<const char*>(next + start[w]), _MM_HINT_T0);
        }
        const uint8_t* shuffle = plan.shuffle + vector * 2 * kBytes;
        return {pick(window, load(shuffle)), pick(window, load(shuffle + kBytes))};
    }

    template <typename Filter>
    static void withWindows(const ElementPlan& plan, Filter&& filter) {
        vantor::withWindows<1, 2, 4>(plan, filter);
    }
};

}  // namespace
}  // namespace vantor
