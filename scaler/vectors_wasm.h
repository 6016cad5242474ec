// WebAssembly's 128-bit vectors, and how elements are gathered into them. For the files that are compiled for
// these alone.
#pragma once

#include "processor/lanes_wasm.h"
#include "scaler/gather_windows.h"

namespace vantor {
namespace {

struct Wasm : WasmLanes {
    static constexpr int kLanes = kLanes16;  // one per column

    /// Rows whose blending shares what is loaded.
    static constexpr int kSharingRows = 1;

    /// Stores as many bytes as lie before `end`.
    static void storeBefore(uint8_t* end, uint8_t* to, Vector bytes) {
        if (end - to >= kBytes) return store(to, bytes);
        uint8_t copy[kBytes];
        store(copy, bytes);
        for (int i = 0; to + i < end; ++i) to[i] = copy[i];
    }

    static Vector inRegister(Vector loaded) { return loaded; }

    /// A byte to each lane.
    static Vector widen(const uint8_t* lanes) { return wasm_u16x8_load8x8(lanes); }

    /// Packs the 16-bit lanes of two vectors to bytes, in order.
    static Vector packInOrder(Vector left, Vector right) { return pack16(left, right); }

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
    static constexpr int kMaxWindows = 4;

    /// One window of 16 bytes for a vector, or two or four. With one there are shuffle bytes for all even
    /// lanes, then for all odd ones; with more, for the even and odd lanes of the first four columns, then of
    /// the last four.
    static bool planElements(const ColumnTaps& taps, ElementPlan& plan) {
        uint8_t offset[kWideStripColumns];
        plan.windowsPerVector = 1;
        while (!placeWindows(taps, kLanes / plan.windowsPerVector, kWindowBytes, plan.start, offset)) {
            plan.windowsPerVector *= 2;
            if (plan.windowsPerVector > kMaxWindows) return false;
        }
        for (int i = 0; i < taps.columns; i += kLanes) {
            const Vector first = widen(offset + i);
            const Vector pair = bitOr(first, shiftLeft16<8>(first));
            const Vector even = add8(pair, broadcast16(0x0200));
            const Vector odd = add8(pair, broadcast16(0x0301));
            const bool hasOne = plan.windowsPerVector == 1;
            store(plan.shuffle + 4 * i, hasOne ? even : lowHalves64(even, odd));
            store(plan.shuffle + 4 * i + kBytes, hasOne ? odd : highHalves64(even, odd));
        }
        return true;
    }

    /// Gathers the elements of vector `vector` from `row`. There is no way to fetch `next` into the cache.
    template <int Windows>
    static Elements gather(const ElementPlan& plan, const uint8_t* row, const uint8_t* /*next*/, int vector) {
        const uint32_t* start = plan.start + vector * Windows;
        const Vector first = load(plan.shuffle + vector * 2 * kBytes);
        const Vector second = load(plan.shuffle + vector * 2 * kBytes + kBytes);
        if (Windows == 1) return {pick(row, start[0], first), pick(row, start[0], second)};
        const Vector left = pickFours<Windows / 2>(row, start, first);
        const Vector right = pickFours<Windows / 2>(row, start + Windows / 2, second);
        return {lowHalves64(left, right), highHalves64(left, right)};
    }

    template <typename Filter>
    static void withWindows(const ElementPlan& plan, Filter&& filter) {
        vantor::withWindows<1, 2, 4>(plan, filter);
    }

private:
    static Vector lowHalves64(Vector a, Vector b) { return wasm_i64x2_shuffle(a, b, 0, 2); }
    static Vector highHalves64(Vector a, Vector b) { return wasm_i64x2_shuffle(a, b, 1, 3); }

    /// Shuffles a window.
    static Vector pick(const uint8_t* row, uint32_t start, Vector shuffle) {
        return shuffle8(load(row + start), shuffle);
    }

    /// Four columns, even lanes and then odd ones, from one window or two.
    template <int Windows>
    static Vector pickFours(const uint8_t* row, const uint32_t* start, Vector shuffle) {
        const Vector left = pick(row, start[0], shuffle);
        if (Windows == 1) return left;
        return wasm_i32x4_shuffle(left, pick(row, start[1], shuffle), 0, 5, 2, 7);
    }
};

}  // namespace
}  // namespace vantor
