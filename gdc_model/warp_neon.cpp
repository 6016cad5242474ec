#include "gdc_model/warp_kernels.h"

#if defined(__ARM_NEON)

#include <arm_neon.h>

namespace vantor {
namespace {

constexpr int kLanes = 4;  // 32-bit lanes of a register
constexpr int kGroup = 8;  // pixels, or pairs of chroma, that are worked out together

/// What positions of one coordinate are computed from, four columns at a time.
class Line {
public:
    explicit Line(const WarpLine& line)
        : start_(vdupq_n_s32(line.start)),
          difference_(vdupq_n_s32(line.difference)),
          slopeChange_(vdupq_n_s32(line.slopeChange)),
          excessAtStart_(vshlq_n_s32(vdupq_n_s32(line.excess), 9)),
          excessStep_(vshlq_n_s32(vdupq_n_s32(line.excess), 1)),
          invScale_(vdup_n_s32(line.invScale)),
          step_(vshlq_n_s32(vdupq_n_s32(line.step), 2)) {
        const int32_t lanes[kLanes] = {0, 1, 2, 3};
        base_ = vmlaq_s32(vdupq_n_s32(line.base), vld1q_s32(lanes), vdupq_n_s32(line.step));
    }

    int32x4_t next(int32x4_t u, int32x4_t q) {
        // Both terms wrap, but their difference, excess (512 - 2u), fits.
        const int32x4_t ex = vrshrq_n_s32(vmlsq_s32(excessAtStart_, u, excessStep_), 9);
        const int32x4_t gx = vrshrq_n_s32(vmulq_s32(vaddq_s32(ex, slopeChange_), q), 11);
        const int32x4_t d = vsubq_s32(vrsraq_n_s32(start_, vmulq_s32(u, difference_), 9), gx);
        const int32x4_t displacement = vcombine_s32(vrshrn_n_s64(vmull_s32(vget_low_s32(d), invScale_), 13),
                                                    vrshrn_n_s64(vmull_s32(vget_high_s32(d), invScale_), 13));
        const int32x4_t position = vaddq_s32(base_, displacement);
        base_ = vaddq_s32(base_, step_);
        return position;
    }

private:
    int32x4_t start_;
    int32x4_t difference_;
    int32x4_t slopeChange_;
    int32x4_t excessAtStart_;
    int32x4_t excessStep_;
    int32x2_t invScale_;
    int32x4_t step_;
    int32x4_t base_;
};

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    Line lineX(run.x);
    Line lineY(run.y);
    for (int i = 0; i < run.count; i += kLanes) {
        const int32x4_t u = vld1q_s32(run.within + i);
        const int32x4_t q = vld1q_s32(run.bulge + i);
        vst1q_s32(x + i, lineX.next(u, q));
        vst1q_s32(y + i, lineY.next(u, q));
    }
}

/// Eight 32-bit values.
struct Wide {
    int32x4_t low;
    int32x4_t high;
};

Wide plus(const Wide& values, int32_t summand) {
    return {vaddq_s32(values.low, vdupq_n_s32(summand)), vaddq_s32(values.high, vdupq_n_s32(summand))};
}

/// Values / 2^shift, saturated: pictures are smaller than that.
template <int shift>
int16x8_t quotients(const Wide& values) {
    return vcombine_s16(vqshrn_n_s32(values.low, shift), vqshrn_n_s32(values.high, shift));
}

/// Values modulo 2^bits.
template <int bits>
int16x8_t remainders(const Wide& values) {
    const int16x8_t narrowed = vcombine_s16(vmovn_s32(values.low), vmovn_s32(values.high));
    return vandq_s16(narrowed, vdupq_n_s16((1 << bits) - 1));
}

/// Lanes where luma has all its taps: index 2 to size - 2.
uint16x8_t hasAllTaps(const Wide& position, int size) {
    const int16x8_t first = vqsubq_s16(quotients<8>(plus(position, 128)), vdupq_n_s16(2));
    return vcleq_u16(vreinterpretq_u16_s16(first), vdupq_n_u16(static_cast<uint16_t>(size - 4)));
}

/// Byte offsets of eight positions in one plane or two; those outside `chosen` are at its start.
struct Offsets {
    int32_t at[kGroup];

    Offsets(int16x8_t column, int16x8_t row, uint16x8_t chosen, std::ptrdiff_t stride) {
        const uint16x8_t x = vandq_u16(vreinterpretq_u16_s16(column), chosen);
        const uint16x8_t y = vandq_u16(vreinterpretq_u16_s16(row), chosen);
        const auto offsets = [step = static_cast<uint32_t>(stride)](uint16x4_t byte, uint16x4_t line) {
            return vreinterpretq_s32_u32(vmlaq_n_u32(vmovl_u16(byte), vmovl_u16(line), step));
        };
        vst1q_s32(at, offsets(vget_low_u16(x), vget_low_u16(y)));
        vst1q_s32(at + kLanes, offsets(vget_high_u16(x), vget_high_u16(y)));
    }
};

template <int bytes>
void copy(const uint8_t* from, uint8_t* to) {
    __builtin_memcpy(to, from, bytes);
}

/// The weights of the four taps at eight phases p, in magnitude: of p (256 - p)^2, 2^25 - p^2 (1280 - 3p),
/// p 2^16 + p^2 (1024 - 3p) and p^2 (256 - p), over 2^17, rounded: over 2^15 rounded down, then over 4.
struct Taps {
    int16x8_t outer0;
    int16x8_t centre1;
    int16x8_t centre2;
    int16x8_t outer3;

    explicit Taps(int16x8_t p) {
        const int16x8_t whole = vdupq_n_s16(256);
        const int16x8_t q = vsubq_s16(whole, p);
        const int16x8_t pq = vmulq_s16(p, q);
        outer0 = vrshrq_n_s16(vqdmulhq_s16(pq, q), 2);
        outer3 = vrshrq_n_s16(vqdmulhq_s16(pq, p), 2);
        // p^2 less 2^15, for signed products.
        const int16x8_t pp = veorq_s16(vmulq_s16(p, p), vdupq_n_s16(INT16_MIN));
        const int16x8_t slope1 = vmlsq_n_s16(vdupq_n_s16(1280), p, 3);
        const int16x8_t slope2 = vsubq_s16(slope1, whole);
        centre1 = vsubq_s16(whole, vrshrq_n_s16(vaddq_s16(vqdmulhq_s16(pp, slope1), slope1), 2));
        centre2 = vrshrq_n_s16(vaddq_s16(vqdmulhq_s16(pp, slope2), vmlaq_n_s16(slope2, p, 2)), 2);
    }
};

int16x8_t minusTwice(int16x8_t tap) {
    return vmulq_n_s16(tap, -2);
}

int16x8_t enlarged(int16x8_t tap64) {
    return vorrq_s16(tap64, vdupq_n_s16(1));
}

/// Weights of four taps by those of one row: (128 x product + 2^14) >> 15 rounds ties up. Where one factor
/// is an outer tap (never positive) and the other a centre tap (never negative), ties must go down: the
/// centre tap is enlarged by 1/64, which changes the product by less than its distance from any other tie.
class Weights {
public:
    explicit Weights(int16x8_t fraction) {
        const Taps x(fraction);
        outer0_ = minusTwice(x.outer0);
        outer3_ = minusTwice(x.outer3);
        centre1_ = vshlq_n_s16(x.centre1, 6);
        centre2_ = vshlq_n_s16(x.centre2, 6);
    }

    struct Row {
        int16x8_t w[4];
    };

    Row outerRow(int16x8_t magnitude) const {
        const int16x8_t y = minusTwice(magnitude);
        const int16x8_t y32 = vshlq_n_s16(y, 5);
        return {{vqrdmulhq_s16(outer0_, y32), vqrdmulhq_s16(enlarged(centre1_), y),
                 vqrdmulhq_s16(enlarged(centre2_), y), vqrdmulhq_s16(outer3_, y32)}};
    }

    Row centreRow(int16x8_t y) const {
        const int16x8_t y2 = vaddq_s16(y, y);
        const int16x8_t y64 = enlarged(vshlq_n_s16(y, 6));
        return {{vqrdmulhq_s16(outer0_, y64), vqrdmulhq_s16(centre1_, y2), vqrdmulhq_s16(centre2_, y2),
                 vqrdmulhq_s16(outer3_, y64)}};
    }

private:
    int16x8_t outer0_;  // -2 x tap
    int16x8_t outer3_;
    int16x8_t centre1_;  // 64 x tap
    int16x8_t centre2_;
};

int16x8_t widened(uint8x8_t bytes) {
    return vreinterpretq_s16_u16(vmovl_u8(bytes));
}

/// Adds weights x samples.
void accumulate(Wide& sum, int16x8_t weights, uint8x8_t bytes) {
    const int16x8_t samples = widened(bytes);
    sum.low = vmlal_s16(sum.low, vget_low_s16(weights), vget_low_s16(samples));
    sum.high = vmlal_s16(sum.high, vget_high_s16(weights), vget_high_s16(samples));
}

/// Eight weighted sums of one row after the other, and what they are finished with.
struct Blend {
    Wide sum{vdupq_n_s32(0), vdupq_n_s32(0)};
    int16x8_t missing = vdupq_n_s16(256);  // what the weights lack, -5 to 5
    uint8x8_t low = vdup_n_u8(255);
    uint8x8_t high = vdup_n_u8(0);

    void add(const Weights::Row& weights, const uint8x8x4_t& samples) {
        for (int i = 0; i < 4; ++i) {
            accumulate(sum, weights.w[i], samples.val[i]);
            missing = vsubq_s16(missing, weights.w[i]);
        }
    }

    void bound(const uint8x8x4_t& samples) {
        low = vmin_u8(low, vmin_u8(samples.val[1], samples.val[2]));
        high = vmax_u8(high, vmax_u8(samples.val[1], samples.val[2]));
    }

    uint8x8_t value() const {
        const auto normalised = [](int32x4_t sums, int16x4_t lack) {
            const int32x4_t correction = vrshrq_n_s32(vmulq_s32(sums, vmovl_s16(lack)), 8);
            return vqrshrun_n_s32(vaddq_s32(sums, correction), 8);
        };
        const uint16x8_t values = vcombine_u16(normalised(sum.low, vget_low_s16(missing)),
                                               normalised(sum.high, vget_high_s16(missing)));
        return vmin_u8(vmax_u8(vqmovn_u16(values), low), high);
    }
};

/// Eight pixels; their lanes without all taps are 0.
uint8x8_t lumaGroup(const WarpSource& src, const Wide& x, const Wide& y, uint16x8_t interior) {
    const Wide halfX = plus(x, 128);
    const Wide halfY = plus(y, 128);
    const int16x8_t two = vdupq_n_s16(2);
    const Offsets offsets(vqsubq_s16(quotients<8>(halfX), two), vqsubq_s16(quotients<8>(halfY), two),
                          interior, src.yStride);
    uint8_t samples[4][4 * kGroup];
    for (int i = 0; i < kGroup; ++i) {
        const uint8_t* row = src.y + offsets.at[i];
        for (int j = 0; j < 4; ++j, row += src.yStride) copy<4>(row, samples[j] + 4 * i);
    }
    const Weights weights(remainders<8>(halfX));
    const Taps down(remainders<8>(halfY));
    Blend blend;
    const uint8x8x4_t row1 = vld4_u8(samples[1]);
    const uint8x8x4_t row2 = vld4_u8(samples[2]);
    blend.bound(row1);
    blend.bound(row2);
    blend.add(weights.centreRow(down.centre1), row1);
    blend.add(weights.centreRow(down.centre2), row2);
    blend.add(weights.outerRow(down.outer0), vld4_u8(samples[0]));
    blend.add(weights.outerRow(down.outer3), vld4_u8(samples[3]));
    return vand_u8(blend.value(), vmovn_u16(interior));
}

bool isZero(uint16x8_t mask) {
    return vget_lane_u64(vreinterpret_u64_u8(vmovn_u16(mask)), 0) == 0;
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    uint16x8_t all = vdupq_n_u16(UINT16_MAX);
    for (int i = 0; i < count; i += kGroup) {
        const Wide atX{vld1q_s32(x + i), vld1q_s32(x + i + kLanes)};
        const Wide atY{vld1q_s32(y + i), vld1q_s32(y + i + kLanes)};
        const uint16x8_t interior = vandq_u16(hasAllTaps(atX, src.width), hasAllTaps(atY, src.height));
        all = vandq_u16(all, interior);
        const uint8x8_t values = isZero(interior) ? vdup_n_u8(0) : lumaGroup(src, atX, atY, interior);
        if (count - i >= kGroup) {
            vst1_u8(out + i, values);
        } else {
            uint8_t some[kGroup];
            vst1_u8(some, values);
            __builtin_memcpy(out + i, some, static_cast<std::size_t>(count - i));
        }
    }
    return isZero(vmvnq_u16(all));
}

/// Eight samples of chroma from the four around each.
uint8x8_t mixed(const int16x8_t (&weights)[4], const uint8x8_t (&block)[2][2]) {
    Wide sum{vdupq_n_s32(0), vdupq_n_s32(0)};
    for (int i = 0; i < 4; ++i) accumulate(sum, weights[i], block[i / 2][i % 2]);
    return vqmovun_s16(vcombine_s16(vrshrn_n_s32(sum.low, 9), vrshrn_n_s32(sum.high, 9)));
}

/// The four samples around eight positions in each of two planes.
struct ChromaBlock {
    uint8x8_t u[2][2];  // by row, then column
    uint8x8_t v[2][2];

    /// From pairs.
    ChromaBlock(const uint8_t* pairs, std::ptrdiff_t stride, const Offsets& offsets) {
        uint8_t samples[2][4 * kGroup];
        for (int i = 0; i < kGroup; ++i) {
            const uint8_t* const pair = pairs + offsets.at[i];
            copy<4>(pair, samples[0] + 4 * i);
            copy<4>(pair + stride, samples[1] + 4 * i);
        }
        for (int j = 0; j < 2; ++j) {
            const uint8x8x4_t row = vld4_u8(samples[j]);
            u[j][0] = row.val[0], v[j][0] = row.val[1], u[j][1] = row.val[2], v[j][1] = row.val[3];
        }
    }

    ChromaBlock(const WarpSource& src, const Offsets& offsetsU, const Offsets& offsetsV) {
        collect(src.u, src.uStride, offsetsU, u);
        collect(src.v, src.vStride, offsetsV, v);
    }

private:
    static void collect(const uint8_t* plane, std::ptrdiff_t stride, const Offsets& offsets,
                        uint8x8_t (&block)[2][2]) {
        uint8_t samples[2][2 * kGroup];
        for (int i = 0; i < kGroup; ++i) {
            const uint8_t* const first = plane + offsets.at[i];
            copy<2>(first, samples[0] + 2 * i);
            copy<2>(first + stride, samples[1] + 2 * i);
        }
        for (int j = 0; j < 2; ++j) {
            const uint8x8x2_t row = vld2_u8(samples[j]);
            block[j][0] = row.val[0], block[j][1] = row.val[1];
        }
    }
};

ChromaBlock chromaBlock(const WarpSource& src, int16x8_t column, int16x8_t row, uint16x8_t chosen) {
    if (src.chromaStep == 2) {
        return {src.u, src.uStride, Offsets(vshlq_n_s16(column, 1), row, chosen, src.uStride)};
    }
    return {src, Offsets(column, row, chosen, src.uStride), Offsets(column, row, chosen, src.vStride)};
}

/// Eight pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
uint8x8x2_t chromaGroup(const WarpSource& src, const Wide& x, const Wide& y) {
    const uint16x8_t interior = vandq_u16(hasAllTaps(x, src.width), hasAllTaps(y, src.height));
    const Wide fromX = plus(x, -128);
    const Wide fromY = plus(y, -128);
    const ChromaBlock block = chromaBlock(src, quotients<9>(fromX), quotients<9>(fromY), interior);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const int16x8_t right = remainders<9>(fromX);
    const int16x8_t left = vsubq_s16(vdupq_n_s16(512), right);
    const int16x8_t upper = vshlq_n_s16(vsubq_s16(vdupq_n_s16(512), remainders<9>(fromY)), 3);
    const int16x8_t leftTop = vqrdmulhq_s16(vshlq_n_s16(left, 3), upper);
    const int16x8_t rightTop = vqrdmulhq_s16(vshlq_n_s16(right, 3), upper);
    const int16x8_t weights[4] = {leftTop, rightTop, vsubq_s16(left, leftTop), vsubq_s16(right, rightTop)};
    const uint8x8_t chosen = vmovn_u16(interior);
    const uint8x8_t neutral = vdup_n_u8(128);
    return {{vbsl_u8(chosen, mixed(weights, block.u), neutral),
             vbsl_u8(chosen, mixed(weights, block.v), neutral)}};
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    const auto evenLanes = [](const int32_t* from) {
        return Wide{vld2q_s32(from).val[0], vld2q_s32(from + 2 * kLanes).val[0]};
    };
    for (int i = 0; i < pairs; i += kGroup) {
        const uint8x8x2_t values = chromaGroup(src, evenLanes(x + 2 * i), evenLanes(y + 2 * i));
        if (pairs - i >= kGroup) {
            vst2_u8(out + 2 * i, values);
        } else {
            uint8_t some[2 * kGroup];
            vst2_u8(some, values);
            __builtin_memcpy(out + 2 * i, some, static_cast<std::size_t>(2 * (pairs - i)));
        }
    }
}

}  // namespace

const WarpKernels kWarpNeon = {InstructionSet::Neon, positions, luma, chroma};

}  // namespace vantor

#endif
