// Bilinear UV pairs, U and V apart in 16-bit lanes, for vectors with multiply-add of pairs.
#pragma once

#include "scaler/bilinear_chroma_kernels.h"

namespace vantor {

/// With weights in 1/32, truncated, for `Bits` of 5; with weights in 1/64, rounded, for 6.
template <typename V, int Bits>
struct BilinearChroma {
    using Vector = typename V::Vector;

    static bool plan(const ColumnTaps& taps, BilinearChromaPlan& plan) {
        plan.taps = taps;
        for (int i = 0; i < taps.columns; i += V::kLanes) {
            V::store(plan.weights + 2 * i, weights(V::widen(taps.phase + i)));
        }
        return V::planElements(taps, plan.elements);
    }

    static void filterRow(const BilinearChromaPlan& shared, const uint8_t* row, const uint8_t* next,
                          uint8_t* out) {
        const BilinearChromaPlan plan = shared;  // what is stored cannot change it
        V::withWindows(
            plan.elements, [&](auto windows) __attribute__((always_inline)) {
                for (int vector = 0; vector * V::kLanes < plan.taps.columns; ++vector) {
                    const auto uv =
                        V::template gather<decltype(windows)::value>(plan.elements, row, next, vector);
                    const Vector pairWeights = V::load(plan.weights + vector * V::kBytes);
                    const Vector u = unscale(V::multiplyAdd8(uv.even, pairWeights));
                    const Vector v = unscale(V::multiplyAdd8(uv.odd, pairWeights));
                    V::store(out + vector * V::kBytes, V::bitOr(u, V::template shiftLeft16<8>(v)));
                }
            });
    }

    static void blendRows(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs) {
        const Vector rowWeights = weights(V::broadcast16(weight));
        for (int i = 0; i < 2 * pairs; i += V::kBytes) {
            const Vector upper = V::load(rows[0] + i);
            const Vector lower = V::load(rows[1] + i);
            const Vector low = unscale(V::multiplyAdd8(V::interleaveLow8(upper, lower), rowWeights));
            const Vector high = unscale(V::multiplyAdd8(V::interleaveHigh8(upper, lower), rowWeights));
            V::storeBefore(out + 2 * pairs, out + i, V::pack16(low, high));
        }
    }

private:
    /// 2^Bits - t and t as the bytes of each lane, which holds t.
    static Vector weights(Vector t) {
        return V::add16(V::subtract16(V::broadcast16(1 << Bits), t), V::template shiftLeft16<8>(t));
    }

    /// What is left of weighted sums when the weights' scale is taken out.
    static Vector unscale(Vector sums) {
        return Bits == 5 ? V::template shiftRight16<5>(sums)
                         : V::multiplyRounded16(sums, V::broadcast16(1 << (15 - Bits)));
    }
};

}  // namespace vantor
