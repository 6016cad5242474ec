// Interp4's luma in 16-bit lanes, for vectors with multiply-add of pairs.
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

    static void filterRow(const Interp4Plan& shared, const uint8_t* row, const uint8_t* next, int16_t* out) {
        const Interp4Plan plan = shared;  // what is stored cannot change it
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

    static void blendRows(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs,
                          int count, int columns) {
        blendUpTo<V::kSharingRows>(rows, weights, outs, count, columns);
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

    /// `Count` output rows at a time, then fewer.
    template <int Count>
    static void blendUpTo(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs,
                          int count, int columns) {
        for (; count >= Count; count -= Count, weights += Count, outs += Count) {
            blendTogether<Count>(rows, weights, outs, columns);
        }
        if constexpr (Count > 1) blendUpTo<Count - 1>(rows, weights, outs, count, columns);
    }

    template <int Count>
    static void blendTogether(const int16_t* const rows[4], const int16_t* const* weights,
                              uint8_t* const* outs, int columns) {
        Vector upper[Count];
        Vector lower[Count];
        for (int k = 0; k < Count; ++k) {
            upper[k] = pairWeights(weights[k]);
            lower[k] = pairWeights(weights[k] + 2);
        }
        for (int i = 0; i < columns; i += V::kBytes) {
            const RowPairs left(rows, i);
            const RowPairs right(rows, i + V::kLanes);
            for (int k = 0; k < Count; ++k) {
                V::storeBefore(
                    outs[k] + columns, outs[k] + i,
                    V::packInOrder(left.blend(upper[k], lower[k]), right.blend(upper[k], lower[k])));
            }
        }
    }

    /// A vector of columns of four rows, as pairs of samples of the upper two and of the lower two.
    class RowPairs {
    public:
        RowPairs(const int16_t* const rows[4], int column) {
            Vector row[4];
            for (int i = 0; i < 4; ++i) row[i] = V::load(rows[i] + column);
            upperLow_ = V::interleaveLow16(row[0], row[1]);
            upperHigh_ = V::interleaveHigh16(row[0], row[1]);
            lowerLow_ = V::interleaveLow16(row[2], row[3]);
            lowerHigh_ = V::interleaveHigh16(row[2], row[3]);
        }

        Vector blend(Vector upper, Vector lower) const {
            return V::packRounded32(V::sumOfProducts16(upperLow_, upper, lowerLow_, lower),
                                    V::sumOfProducts16(upperHigh_, upper, lowerHigh_, lower));
        }

    private:
        Vector upperLow_;
        Vector upperHigh_;
        Vector lowerLow_;
        Vector lowerHigh_;
    };
};

}  // namespace vantor
