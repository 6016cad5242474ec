// Interp4's luma with 128-bit vectors: 16 columns per step, four sums of 32 bits per vector.
#if defined(__ARM_NEON)

#include "scaler/interp4_kernels.h"
#include "scaler/vectors_neon.h"

namespace vantor {
namespace {

constexpr int kTaps = 4;
constexpr int kColumns = 4;      // of 32-bit lanes
constexpr int kWeightBytes = 8;  // per column

/// Stores the weights of four columns as their sums take them: those of the first tap, of the second, and
/// so on.
inline void planWeights(const uint8_t* phase, const int16_t* coefficients, int8_t* weights) {
    const auto column = [&](int i) { return vld1_s16(coefficients + kTaps * phase[i]); };
    const int16x4x4_t columns = {{column(0), column(1), column(2), column(3)}};
    vst4_s16(reinterpret_cast<int16_t*>(weights), columns);
}

bool plan(const ColumnTaps& taps, const int16_t* coefficients, Interp4Plan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kVectorBytes) {
        for (int k = i; k < i + kVectorBytes; k += kColumns) {
            planWeights(taps.phase + k, coefficients, plan.weights + k * kWeightBytes);
        }
    }
    return planElements(taps, plan.elements);
}

inline int16x8_t loadWeights(const int8_t* from) {
    return vreinterpretq_s16_s8(vld1q_s8(from));
}

template <int Half>
inline int16x8_t widen(uint8x16_t bytes) {
    return vreinterpretq_s16_u16(vmovl_u8(half<Half>(bytes)));
}

/// Four columns. The sum is less than 2^25 in magnitude.
inline int16x4_t filterFour(int16x4_t s0, int16x4_t s1, int16x4_t s2, int16x4_t s3, const int8_t* weights) {
    const int16x8_t left = loadWeights(weights);
    const int16x8_t right = loadWeights(weights + kVectorBytes);
    int32x4_t sum = vmull_s16(s0, vget_low_s16(left));
    sum = vmlal_s16(sum, s1, vget_high_s16(left));
    sum = vmlal_s16(sum, s2, vget_low_s16(right));
    sum = vmlal_s16(sum, s3, vget_high_s16(right));
    return vqrshrn_n_s32(sum, 8);
}

template <int Half>
inline int16x8_t filterHalf(const Elements& taps, const int8_t* weights) {
    const int16x8_t s0 = widen<Half>(taps.byte[0]);
    const int16x8_t s1 = widen<Half>(taps.byte[1]);
    const int16x8_t s2 = widen<Half>(taps.byte[2]);
    const int16x8_t s3 = widen<Half>(taps.byte[3]);
    return vcombine_s16(
        filterFour(vget_low_s16(s0), vget_low_s16(s1), vget_low_s16(s2), vget_low_s16(s3), weights),
        filterFour(vget_high_s16(s0), vget_high_s16(s1), vget_high_s16(s2), vget_high_s16(s3),
                   weights + kColumns * kWeightBytes));
}

void filterRow(const Interp4Plan& shared, const uint8_t* row, const uint8_t* next, int16_t* out) {
    const Interp4Plan plan = shared;  // what is stored cannot change it
    const int columns = plan.taps.columns;
    withWindows<2, 4>(plan.elements, [&](auto windows) {
        for (int vector = 0; vector * kVectorBytes < columns; ++vector, out += kVectorBytes) {
            const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
            const int8_t* const weights = plan.weights + vector * kVectorBytes * kWeightBytes;
            vst1q_s16(out, filterHalf<0>(taps, weights));
            vst1q_s16(out + kLanes, filterHalf<1>(taps, weights + kLanes * kWeightBytes));
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

inline uint8x8_t blendEight(const int16_t* const rows[4], int column, int16x4_t weights) {
    const int16x8_t s0 = vld1q_s16(rows[0] + column);
    const int16x8_t s1 = vld1q_s16(rows[1] + column);
    const int16x8_t s2 = vld1q_s16(rows[2] + column);
    const int16x8_t s3 = vld1q_s16(rows[3] + column);
    return vqmovun_s16(vcombine_s16(
        blendFour(vget_low_s16(s0), vget_low_s16(s1), vget_low_s16(s2), vget_low_s16(s3), weights),
        blendFour(vget_high_s16(s0), vget_high_s16(s1), vget_high_s16(s2), vget_high_s16(s3), weights)));
}

inline void blendRow(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns) {
    const int16x4_t lanes = vld1_s16(weights);
    const int16_t* const row[4] = {rows[0], rows[1], rows[2], rows[3]};
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    vcombine_u8(blendEight(row, i, lanes), blendEight(row, i + kLanes, lanes)));
    }
}

void blendRows(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs, int count,
               int columns) {
    for (int i = 0; i < count; ++i) blendRow(rows, weights[i], outs[i], columns);
}

void roundRow(const int16_t* row, uint8_t* out, int columns) {
    for (int i = 0; i < columns; i += kVectorBytes) {
        storeBefore(out + columns, out + i,
                    vcombine_u8(vqrshrun_n_s16(vld1q_s16(row + i), 4),
                                vqrshrun_n_s16(vld1q_s16(row + i + kLanes), 4)));
    }
}

}  // namespace

const Interp4Kernels kInterp4Neon = {InstructionSet::Neon, plan, filterRow, blendRows, roundRow};

}  // namespace vantor

#endif
