// Bicubic luma with 128-bit vectors: 16 columns per step, in two vectors of 16-bit lanes.
#if defined(__ARM_NEON)

#include "scaler/bicubic_luma_kernels.h"
#include "scaler/vectors_neon.h"

namespace vantor {
namespace {

/// Phases t, 0 to 31, as they multiply: vqdmulh keeps the upper 16 bits of the doubled product.
struct Phases {
    int16x8_t lessOne;  ///< (t - 32) << 10, makes of x ((t x) >> 5) - x
    int16x8_t over64;   ///< t << 9, makes of x (t x) >> 6
};

inline int16x8_t lessOne(uint8x8_t phase) {
    const int16x8_t t = vreinterpretq_s16_u16(vmovl_u8(phase));
    return vshlq_n_s16(vsubq_s16(t, vdupq_n_s16(32)), 10);
}

inline Phases phases(int16x8_t less) {
    return {less, vhsubq_s16(less, vdupq_n_s16(INT16_MIN))};
}

bool plan(const ColumnTaps& taps, BicubicLumaPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kVectorBytes) {
        vst1q_s16(plan.phase + i, lessOne(vld1_u8(taps.phase + i)));
        vst1q_s16(plan.phase + i + kLanes, lessOne(vld1_u8(taps.phase + i + kLanes)));
    }
    return planElements(taps, plan.elements);
}

inline int16x8_t difference(uint8x8_t a, uint8x8_t b) {
    return vreinterpretq_s16_u16(vsubl_u8(a, b));
}

/// The clamped cubic of eight columns. In the differences a = p0 - p1 and b = p1 - p2 its coefficients are
/// cube = p3 - p0 + 3 b, square = a - b - cube and slope = -(a + b). With third = ((t cube) >> 5) - cube - b
/// the second product of t is that with s = a + third, and since second = ((t s) >> 5) - s, the third one is
/// that with second + third - b. No lane leaves 16 bits: |cube| <= 1020, |third| <= 1275, |s| <= 1530,
/// |second| <= 1530 and the last sum is at most 3060.
template <int Half>
inline uint8x8_t cubicHalf(const Elements& taps, const Phases& t) {
    const uint8x8_t p0 = half<Half>(taps.byte[0]);
    const uint8x8_t p1 = half<Half>(taps.byte[1]);
    const uint8x8_t p2 = half<Half>(taps.byte[2]);
    const uint8x8_t p3 = half<Half>(taps.byte[3]);
    const int16x8_t b = difference(p1, p2);
    const int16x8_t cube = vmlaq_s16(difference(p3, p0), b, vdupq_n_s16(3));
    const int16x8_t third = vsubq_s16(vqdmulhq_s16(cube, t.lessOne), b);
    const int16x8_t second = vqdmulhq_s16(vaddq_s16(difference(p0, p1), third), t.lessOne);
    const int16x8_t step = vqdmulhq_s16(vaddq_s16(second, vsubq_s16(third, b)), t.over64);
    return vqmovun_s16(vreinterpretq_s16_u16(vaddw_u8(vreinterpretq_u16_s16(step), p1)));
}

inline uint8x16_t cubic(const Elements& taps, const Phases& lower, const Phases& upper) {
    return vcombine_u8(cubicHalf<0>(taps, lower), cubicHalf<1>(taps, upper));
}

void filterRow(const BicubicLumaPlan& shared, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    const BicubicLumaPlan plan = shared;  // what is stored cannot change it
    const int columns = plan.taps.columns;
    withWindows<2, 4>(plan.elements, [&](auto windows) {
        for (int vector = 0; vector * kVectorBytes < columns; ++vector, out += kVectorBytes) {
            const Elements taps = gather<decltype(windows)::value>(plan.elements, row, next, vector);
            const int16_t* const phase = plan.phase + vector * kVectorBytes;
            vst1q_u8(out, cubic(taps, phases(vld1q_s16(phase)), phases(vld1q_s16(phase + kLanes))));
        }
    });
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const Phases t = phases(lessOne(vdup_n_u8(static_cast<uint8_t>(phase))));
    const uint8_t* const row[4] = {rows[0], rows[1], rows[2], rows[3]};
    for (int i = 0; i < columns; i += kVectorBytes) {
        const Elements taps = {
            {vld1q_u8(row[0] + i), vld1q_u8(row[1] + i), vld1q_u8(row[2] + i), vld1q_u8(row[3] + i)}};
        storeBefore(out + columns, out + i, cubic(taps, t, t));
    }
}

}  // namespace

const BicubicLumaKernels kBicubicLumaNeon = {InstructionSet::Neon, plan, filterRow, blendRows};

}  // namespace vantor

#endif
