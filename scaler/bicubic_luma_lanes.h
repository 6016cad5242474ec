// Bicubic luma in 16-bit lanes, for vectors with multiply-add of pairs.
#pragma once

#include "scaler/bicubic_luma_kernels.h"

namespace vantor {

template <typename V>
struct BicubicLuma {
    using Vector = typename V::Vector;

    static bool plan(const ColumnTaps& taps, BicubicLumaPlan& plan) {
        plan.taps = taps;
        for (int i = 0; i < taps.columns; i += V::kLanes) {
            V::store(plan.phase + i, V::template shiftLeft16<10>(V::widen(taps.phase + i)));
        }
        return V::planElements(taps, plan.elements);
    }

    static void filterRow(const BicubicLumaPlan& shared, const uint8_t* row, const uint8_t* next,
                          uint8_t* out) {
        const BicubicLumaPlan plan = shared;  // what is stored cannot change it
        V::withWindows(
            plan.elements, [&](auto windows) __attribute__((always_inline)) {
                const auto filter = [&](int vector) __attribute__((always_inline)) {
                    const auto taps =
                        V::template gather<decltype(windows)::value>(plan.elements, row, next, vector);
                    return cubic(taps.even, taps.odd,
                                 V::inRegister(V::load(plan.phase + vector * V::kLanes)));
                };
                for (int vector = 0; vector * V::kLanes < plan.taps.columns; vector += 2) {
                    V::store(out + vector * V::kLanes, V::packInOrder(filter(vector), filter(vector + 1)));
                }
            });
    }

    static void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
        const Vector phases = V::broadcast16(phase << 10);
        for (int i = 0; i < columns; i += V::kBytes) {
            const Vector p0 = V::load(rows[0] + i);
            const Vector p1 = V::load(rows[1] + i);
            const Vector p2 = V::load(rows[2] + i);
            const Vector p3 = V::load(rows[3] + i);
            const Vector low = cubic(V::interleaveLow8(p0, p2), V::interleaveLow8(p1, p3), phases);
            const Vector high = cubic(V::interleaveHigh8(p0, p2), V::interleaveHigh8(p1, p3), phases);
            V::storeBefore(out + columns, out + i, V::pack16(low, high));
        }
    }

private:
    /// For the two bytes of each lane.
    static Vector weights(int first, int second) { return V::broadcast16((first & 255) | (second * 256)); }

    /// The cubic before its clamp, of the taps p0 and p2 in `even`, p1 and p3 in `odd`; `phase` is in
    /// 1/32768. A multiplication by it keeps the upper 16 bits and so divides by 64: where 32 is wanted, the
    /// other factor is doubled. Doubled factors stay within 8,200 in magnitude.
    static Vector cubic(Vector even, Vector odd, Vector phase) {
        const Vector cubeTwice =
            V::add16(V::multiplyAdd8(even, weights(-2, -6)), V::multiplyAdd8(odd, weights(6, 2)));
        const Vector squareTwice =
            V::add16(V::multiplyAdd8(even, weights(4, 8)), V::multiplyAdd8(odd, weights(-10, -2)));
        const Vector third = V::multiplyHigh16(cubeTwice, phase);
        const Vector second = V::multiplyHigh16(V::add16(squareTwice, V::add16(third, third)), phase);
        const Vector slope = V::multiplyAdd8(even, weights(-1, 1));
        const Vector step = V::multiplyHigh16(V::add16(slope, second), phase);
        return V::add16(V::bitAnd(odd, V::broadcast16(255)), step);
    }
};

}  // namespace vantor
