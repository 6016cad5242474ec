// Interp4's luma in 16-bit lanes, for the vectors of AVX2 and AVX-512.
#pragma once

#include "scaler/interp4_kernels.h"

namespace vantor {

template <typename V>
struct Interp4 {
    using Vector = typename V::Vector;

    static bool plan(const ColumnTaps& taps, const int16_t* coefficients, Interp4Plan& plan) {
        plan.taps = taps;
        planWeights(taps, coefficients, plan.weights);
        return V::planElements(taps, plan.elements);
    }

    static void filterRow(const Interp4Plan& plan, const uint8_t* row, const uint8_t* next, int16_t* out) {
        V::withWindows(
            plan.elements, [&](auto windows) __attribute__((always_inline)) {
                for (int vector = 0; vector * V::kLanes < plan.taps.columns; ++vector) {
                    const auto taps =
                        V::template gather<decltype(windows)::value>(plan.elements, row, next, vector);
                    const int8_t* weights = plan.weights + vector * kParts * V::kBytes;
                    V::store(out + vector * V::kLanes, filter(taps.even, taps.odd, weights));
                }
            });
    }

    static void blendRows(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
        const Vector upper = pairWeights(weights);
        const Vector lower = pairWeights(weights + 2);
        for (int i = 0; i < columns; i += V::kBytes) {
            V::storeBefore(
                out + columns, out + i,
                V::packInOrder(blend(rows, i, upper, lower), blend(rows, i + V::kLanes, upper, lower)));
        }
    }

    static void roundRow(const int16_t* row, uint8_t* out, int columns) {
        const Vector sixteenth = V::broadcast16(1 << 11);
        for (int i = 0; i < columns; i += V::kBytes) {
            V::storeBefore(out + columns, out + i,
                           V::packInOrder(V::multiplyRounded16(V::load(row + i), sixteenth),
                                          V::multiplyRounded16(V::load(row + i + V::kLanes), sixteenth)));
        }
    }

private:
    /// Vectors of weights for each vector of columns: the coarse and fine ones of the even taps, then those
    /// of the odd taps.
    static constexpr int kParts = 4;

    /// Each weight is 64 x coarse + fine, fine from -32 to 31: with coarse weights that sum to 126 or less in
    /// magnitude no sum of weighted bytes leaves 16 bits.
    static int split(int weight, bool isFine) {
        const int coarse = (weight + 32) >> 6;
        return isFine ? weight - 64 * coarse : coarse;
    }

    static void planWeights(const ColumnTaps& taps, const int16_t* coefficients, int8_t* weights) {
        for (int part = 0; part < kParts; ++part) {
            alignas(64) uint16_t pairs[32];  // of each phase: two taps, two apart
            for (int phase = 0; phase < 32; ++phase) {
                const int16_t* row = coefficients + 4 * phase + part / 2;
                const bool isFine = part % 2 == 1;
                pairs[phase] =
                    static_cast<uint16_t>((split(row[0], isFine) & 255) | split(row[2], isFine) * 256);
            }
            for (int i = 0; i < taps.columns; i += V::kLanes) {
                V::store(weights + 2 * kParts * i + part * V::kBytes, V::lookUp(pairs, taps.phase + i));
            }
        }
    }

    /// (64 x coarse + fine + 128) >> 8 of the weighted sums.
    static Vector filter(Vector even, Vector odd, const int8_t* weights) {
        const auto sum = [&](int scale) {
            return V::add16(V::multiplyAdd8(even, V::load(weights + scale * V::kBytes)),
                            V::multiplyAdd8(odd, V::load(weights + (2 + scale) * V::kBytes)));
        };
        const Vector fine = V::template shiftRightSigned16<6>(V::add16(sum(1), V::broadcast16(128)));
        return V::template shiftRightSigned16<2>(V::add16(sum(0), fine));
    }

    /// The weights of two rows, for pairs of their samples.
    static Vector pairWeights(const int16_t* weights) {
        int32_t both;
        __builtin_memcpy(&both, weights, sizeof both);
        return V::broadcast32(both);
    }

    /// In 1/2 level, saturated to 16 bits, which does not change what is left after the clamp to 0..255. The
    /// last bit is rounded off by a rounding multiplication, whose sum cannot overflow.
    static Vector blend(const int16_t* const rows[4], int column, Vector upper, Vector lower) {
        Vector row[4];
        for (int i = 0; i < 4; ++i) row[i] = V::load(rows[i] + column);
        const Vector low = V::add32(V::multiplyAdd16(V::interleaveLow16(row[0], row[1]), upper),
                                    V::multiplyAdd16(V::interleaveLow16(row[2], row[3]), lower));
        const Vector high = V::add32(V::multiplyAdd16(V::interleaveHigh16(row[0], row[1]), upper),
                                     V::multiplyAdd16(V::interleaveHigh16(row[2], row[3]), lower));
        const Vector halfLevels =
            V::pack32(V::template shiftRightSigned32<15>(low), V::template shiftRightSigned32<15>(high));
        return V::multiplyRounded16(halfLevels, V::broadcast16(1 << 14));
    }
};

}  // namespace vantor
