// Interp4's luma with 128-bit vectors: eight columns at a time, in two vectors of 32-bit sums.
#if defined(__ARM_NEON)

#include "scaler/interp4_kernels.h"
#include "scaler/vectors_neon.h"

namespace vantor {
namespace {

constexpr int kTaps = 4;

/// Stores the weights of each column.
bool plan(const ColumnTaps& taps, const int16_t* coefficients, Interp4Plan& plan) {
    auto* const weights = reinterpret_cast<int16_t*>(plan.weights);
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kElements) {
        for (int k = i; k < i + kElements; ++k) {
            vst1_s16(weights + kTaps * k, vld1_s16(coefficients + kTaps * taps.phase[k]));
        }
    }
    return planElements(taps, plan.elements);
}

inline int16x8_t widen(uint8x8_t bytes) {
    return vreinterpretq_s16_u16(vmovl_u8(bytes));
}

/// Four columns. The sum is less than 2^25 in magnitude.
inline int16x4_t filterFour(int16x4_t s0, int16x4_t s1, int16x4_t s2, int16x4_t s3,
                            const int16x4x4_t& weights) {
    int32x4_t sum = vmull_s16(s0, weights.val[0]);
    sum = vmlal_s16(sum, s1, weights.val[1]);
    sum = vmlal_s16(sum, s2, weights.val[2]);
    sum = vmlal_s16(sum, s3, weights.val[3]);
    return vqrshrn_n_s32(sum, 8);
}

template <int Half>
inline int16x8_t filterHalf(const Elements& taps, const int16_t* weights) {
    const int16x4x4_t lower = vld4_s16(weights);
    const int16x4x4_t upper = vld4_s16(weights + kTaps * kLanes / 2);
    const int16x8_t s0 = widen(half<Half>(taps.byte[0]));
    const int16x8_t s1 = widen(half<Half>(taps.byte[1]));
    const int16x8_t s2 = widen(half<Half>(taps.byte[2]));
    const int16x8_t s3 = widen(half<Half>(taps.byte[3]));
    return vcombine_s16(
        filterFour(vget_low_s16(s0), vget_low_s16(s1), vget_low_s16(s2), vget_low_s16(s3), lower),
        filterFour(vget_high_s16(s0), vget_high_s16(s1), vget_high_s16(s2), vget_high_s16(s3), upper));
}

void filterRow(const Interp4Plan& plan, const uint8_t* row, const uint8_t* next, int16_t* out) {
    withWindows<2, 4>(plan.elements, [&](auto windows) {
        const uint32_t* start = plan.elements.start;
        const uint8_t* shuffle = plan.elements.shuffle;
        const auto* weights = reinterpret_cast<const int16_t*>(independent(plan.weights));
        int16_t* const end = out + plan.taps.columns;
        while (out < end) {
            const Elements taps = gather<decltype(windows)::value>(row, next, start, loadIndices(shuffle));
            start += kStarts;
            shuffle += kIndexBytes * kElements;
            forHalves([&](auto half) {
                vst1q_s16(out, filterHalf<decltype(half)::value>(taps, weights));
                weights += kTaps * kLanes;
                out += kLanes;
            });
        }
    });
}

/// Four columns. The sum wraps at 32 bits; what rounds it does not.
inline int16x4_t blendFour(int16x4_t s0, int16x4_t s1, int16x4_t s2, int16x4_t s3, int16x4_t weights) {
    int32x4_t sum = vmull_lane_s16(s0, weights, 0);
    sum = vmlal_lane_s16(sum, s1, weights, 1);
    sum = vmlal_lane_s16(sum, s2, weights, 2);
    sum = vmlal_lane_s16(sum, s3, weights, 3);
    return vqrshrn_n_s32(sum, 16);
}

inline uint8x8_t blendEight(int16x8_t s0, int16x8_t s1, int16x8_t s2, int16x8_t s3, int16x4_t weights) {
    return vqmovun_s16(vcombine_s16(
        blendFour(vget_low_s16(s0), vget_low_s16(s1), vget_low_s16(s2), vget_low_s16(s3), weights),
        blendFour(vget_high_s16(s0), vget_high_s16(s1), vget_high_s16(s2), vget_high_s16(s3), weights)));
}

/// The samples at even columns, then those at odd ones.
inline int16x8x2_t loadNext(const int16_t*& from) {
    const int16x8x2_t samples = vld2q_s16(from);
    from += 2 * kLanes;
    return samples;
}

inline uint8x16_t inTurns(uint8x8_t even, uint8x8_t odd) {
    const uint8x8x2_t both = vzip_u8(even, odd);
    return vcombine_u8(both.val[0], both.val[1]);
}

inline void blendRow(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const int16x4_t lanes = vld1_s16(weights);
    const int16_t* row[4] = {rows[0], rows[1], rows[2], rows[3]};
    storeVectors(out, columns, [&] {
        const int16x8x2_t s0 = loadNext(row[0]);
        const int16x8x2_t s1 = loadNext(row[1]);
        const int16x8x2_t s2 = loadNext(row[2]);
        const int16x8x2_t s3 = loadNext(row[3]);
        return inTurns(blendEight(s0.val[0], s1.val[0], s2.val[0], s3.val[0], lanes),
                       blendEight(s0.val[1], s1.val[1], s2.val[1], s3.val[1], lanes));
    });
}

void blendRows(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs, int count,
               int columns) {
    for (int i = 0; i < count; ++i) blendRow(rows, weights[i], outs[i], columns);
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    storeVectors(out, columns, [&] {
        const int16x8x2_t samples = loadNext(row);
        return inTurns(vqrshrun_n_s16(samples.val[0], 4), vqrshrun_n_s16(samples.val[1], 4));
    });
}

}  // namespace

const Interp4Kernels kInterp4Neon = {InstructionSet::Neon, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
