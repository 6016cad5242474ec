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
            V::storeBefore(out + columns, out + i,
                           V::pack(blend(rows, i, upper, lower), blend(rows, i + V::kLanes, upper, lower)));
        }
    }

    static void roundRow(const int16_t* row, uint8_t* out, int columns) {
        const Vector sixteenth = V::words(1 << 11);
        for (int i = 0; i < columns; i += V::kBytes) {
            V::storeBefore(out + columns, out + i,
                           V::pack(V::multiplyRounded(V::load(row + i), sixteenth),
                                   V::multiplyRounded(V::load(row + i + V::kLanes), sixteenth)));
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
            alignas(64) uint16_t words[32];  // of each phase: two taps, two apart
            for (int phase = 0; phase < 32; ++phase) {
                const int16_t* row = coefficients + 4 * phase + part / 2;
                const bool isFine = part % 2 == 1;
                words[phase] =
                    static_cast<uint16_t>((split(row[0], isFine) & 255) | split(row[2], isFine) * 256);
            }
            for (int i = 0; i < taps.columns; i += V::kLanes) {
                V::store(weights + 2 * kParts * i + part * V::kBytes, V::lookUp(words, taps.phase + i));
            }
        }
    }

    /// (64 x coarse + fine + 128) >> 8 of the weighted sums.
    static Vector filter(Vector even, Vector odd, const int8_t* weights) {
        const auto sum = [&](int scale) {
            return V::add(V::weigh(even, V::load(weights + scale * V::kBytes)),
                          V::weigh(odd, V::load(weights + (2 + scale) * V::kBytes)));
        };
        const Vector fine = V::template shiftRightSigned<6>(V::add(sum(1), V::words(128)));
        return V::template shiftRightSigned<2>(V::add(sum(0), fine));
    }

    /// The weights of two rows, for pairs of their samples.
    static Vector pairWeights(const int16_t* weights) {
        int32_t both;
        __builtin_memcpy(&both, weights, sizeof both);
        return V::dwords(both);
    }

    /// In 1/2 level, saturated to 16 bits, which does not change what is left after the clamp to 0..255. The
    /// last bit is rounded off by a rounding multiplication, whose sum cannot overflow.
    static Vector blend(const int16_t* const rows[4], int column, Vector upper, Vector lower) {
        Vector row[4];
        for (int i = 0; i < 4; ++i) row[i] = V::load(rows[i] + column);
        const Vector low = V::addDwords(V::weighWords(V::lowWords(row[0], row[1]), upper),
                                        V::weighWords(V::lowWords(row[2], row[3]), lower));
        const Vector high = V::addDwords(V::weighWords(V::highWords(row[0], row[1]), upper),
                                         V::weighWords(V::highWords(row[2], row[3]), lower));
        const Vector halves =
            V::packDwords(V::template shiftRightDwords<15>(low), V::template shiftRightDwords<15>(high));
        return V::multiplyRounded(halves, V::words(1 << 14));
    }
};

}  // namespace vantor
