#include "gdc_model/warp_kernels.h"

#if defined(__ARM_NEON)

#include <arm_neon.h>

namespace vantor {
namespace {

constexpr int kLanes = 4;  // 32-bit lanes of a register
constexpr int kGroup = 8;  // pixels, or pairs of chroma, that are worked out together

/// A third of factor x value / 2^shift, below 2^23, whose single-precision third is exact or rounds away from
/// the next integer.
template <int shift>
int32x4_t roundedThird(int32_t factor, int32x4_t value) {
    const float32x4_t rounded = vcvtq_f32_s32(vrshrq_n_s32(vmulq_n_s32(value, factor), shift));
    return vcvtq_s32_f32(vmulq_n_f32(rounded, 1 / 3.0F));
}

int32_t largestOf(int32x4_t a) {
    const int32x2_t pairs = vpmax_s32(vget_low_s32(a), vget_high_s32(a));
    return vget_lane_s32(vpmax_s32(pairs, pairs), 0);
}

NodeBounds boundsOf(const int32_t* values) {
    int32x4_t largest = vabsq_s32(vld1q_s32(values));
    int32x4_t step = vdupq_n_s32(0);
    for (int i = 0; i < kGridCells; i += kLanes) {
        const int32x4_t next = vld1q_s32(values + i + 1);
        largest = vmaxq_s32(largest, vabsq_s32(next));
        step = vmaxq_s32(step, vabdq_s32(next, vld1q_s32(values + i)));
    }
    return {largestOf(largest), largestOf(step)};
}

NodeBounds nodes(const GdcGrid& grid, int cell, int within, int32_t* values) {
    const bool isFirst = cell == 1, isLast = cell == kGridCells;
    const int32_t bulge = (64 + within * (384 - within)) / 384;
    for (int i = 0; i < kGridNodes; i += kLanes) {
        const int first = i < kGridNodes - kLanes ? i : kGridNodes - kLanes;
        const int32x4_t top = vld1q_s32(grid[cell - 1] + first);
        const int32x4_t bottom = vld1q_s32(grid[cell] + first);
        const int32x4_t difference = vsubq_s32(bottom, top);
        const int32x4_t chord = vshlq_n_s32(difference, 2);
        int32x4_t slope0 = difference, slope1 = difference;
        if (!isFirst) slope0 = vsubq_s32(bottom, vld1q_s32(grid[cell - 2] + first));
        if (!isLast) slope1 = vsubq_s32(vld1q_s32(grid[cell + 1] + first), top);
        if (isFirst) slope0 = vsubq_s32(chord, slope1);
        if (isLast) slope1 = vsubq_s32(chord, slope0);
        const int32x4_t excess = vsubq_s32(vsubq_s32(chord, slope0), slope1);
        const int32x4_t halfChange = vshrq_n_s32(vsubq_s32(slope1, slope0), 1);
        const int32x4_t outer = vaddq_s32(roundedThird<8>(384 - 2 * within, excess), halfChange);
        const int32x4_t linear = vsraq_n_s32(roundedThird<8>(within, difference), top, 1);
        const int32x4_t value = vsubq_s32(linear, roundedThird<9>(bulge, outer));
        vst1q_s32(values + first, vminq_s32(vmaxq_s32(value, vdupq_n_s32(-4194304)), vdupq_n_s32(4194303)));
    }
    return boundsOf(values);
}

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

void locate(const WarpRun& run, int32_t* x, int32_t* y) {
    Line lineX(run.x);
    Line lineY(run.y);
    for (int i = 0; i < run.count; i += kLanes) {
        const int32x4_t u = vmovl_s16(vld1_s16(run.within + i));
        const int32x4_t q = vmovl_s16(vld1_s16(run.bulge + i));
        vst1q_s32(x + i, lineX.next(u, q));
        vst1q_s32(y + i, lineY.next(u, q));
    }
}

/// The same in 16-bit lanes but for the start's part, eight columns at a time: (a b + 2^14) >> 15 of scaled
/// factors.
class NarrowLine {
public:
    explicit NarrowLine(const WarpLine& line)
        : excess4_(vdupq_n_s16(static_cast<int16_t>(4 * line.excess))),
          slopeChange_(vdupq_n_s16(static_cast<int16_t>(line.slopeChange))),
          difference2_(vdupq_n_s16(static_cast<int16_t>(2 * line.difference))),
          invScale_(vdup_n_s16(static_cast<int16_t>(line.invScale))),
          step_(vshlq_n_s32(vdupq_n_s32(line.step), 2)) {
        const int64_t displaced = int64_t{line.invScale} * line.start + 4096;
        remainder_ = vdupq_n_s32(static_cast<int32_t>(displaced & 8191));
        const int32_t lanes[kLanes] = {0, 1, 2, 3};
        const int32x4_t base =
            vaddq_s32(vdupq_n_s32(line.base), vdupq_n_s32(static_cast<int32_t>(displaced >> 13)));
        base_ = vmlaq_s32(base, vld1q_s32(lanes), vdupq_n_s32(line.step));
    }

    void next(int16x8_t u32, int16x8_t q16, int32_t* out) {
        const int16x8_t fromMiddle = vsubq_s16(vdupq_n_s16(256 * 32), u32);
        const int16x8_t e = vaddq_s16(vqrdmulhq_s16(excess4_, fromMiddle), slopeChange_);
        const int16x8_t fromStart = vsubq_s16(vqrdmulhq_s16(difference2_, u32), vqrdmulhq_s16(e, q16));
        store(out, vget_low_s16(fromStart));
        store(out + kLanes, vget_high_s16(fromStart));
    }

private:
    void store(int32_t* out, int16x4_t fromStart) {
        vst1q_s32(out, vsraq_n_s32(base_, vmlal_s16(remainder_, fromStart, invScale_), 13));
        base_ = vaddq_s32(base_, step_);
    }

    int16x8_t excess4_;
    int16x8_t slopeChange_;
    int16x8_t difference2_;
    int16x4_t invScale_;
    int32x4_t remainder_;  // of the start's displacement, which `base_` includes
    int32x4_t step_;
    int32x4_t base_;
};

void locateNarrow(const WarpRun& run, int32_t* x, int32_t* y) {
    NarrowLine lineX(run.x);
    NarrowLine lineY(run.y);
    for (int i = 0; i < run.count; i += kGroup) {
        const int16x8_t u32 = vshlq_n_s16(vld1q_s16(run.within + i), 5);
        const int16x8_t q16 = vshlq_n_s16(vld1q_s16(run.bulge + i), 4);
        lineX.next(u32, q16, x + i);
        lineY.next(u32, q16, y + i);
    }
}

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    (run.isNarrow ? locateNarrow : locate)(run, x, y);
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

/// The first of four taps along one axis.
int16x8_t firstTap(const Wide& position) {
    return quotients<8>(plus(position, -384));
}

/// Lanes whose four taps lie inside `size` samples.
uint16x8_t hasAllTaps(int16x8_t first, int size) {
    return vcleq_u16(vreinterpretq_u16_s16(first), vdupq_n_u16(static_cast<uint16_t>(size - 4)));
}

/// Byte offsets of eight positions in one plane or two; those outside `chosen` are at its start.
struct Offsets {
    int32_t at[kGroup];

    Offsets(int16x8_t column, int16x8_t row, uint16x8_t chosen, std::ptrdiff_t stride) {
        const uint16x8_t x = vandq_u16(vreinterpretq_u16_s16(column), chosen);
        const uint16x8_t y = vandq_u16(vreinterpretq_u16_s16(row), chosen);
        const auto offsets = [step = vdupq_n_u32(static_cast<uint32_t>(stride))](uint16x4_t byte,
                                                                                 uint16x4_t line) {
            return vreinterpretq_s32_u32(vmlaq_u32(vmovl_u16(byte), vmovl_u16(line), step));
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
        const int16x8_t slope1 = vmlsq_s16(vdupq_n_s16(1280), p, vdupq_n_s16(3));
        const int16x8_t slope2 = vsubq_s16(slope1, whole);
        centre1 = vsubq_s16(whole, vrshrq_n_s16(vaddq_s16(vqdmulhq_s16(pp, slope1), slope1), 2));
        centre2 = vrshrq_n_s16(vaddq_s16(vqdmulhq_s16(pp, slope2), vsubq_s16(vdupq_n_s16(1024), p)), 2);
    }
};

/// Weights of four taps by those of one row: (128 x product + 2^14) >> 15 rounds ties up. Where one factor
/// is an outer tap (never positive) and the other a centre tap (never negative), ties must go down: the
/// centre tap is enlarged by 1/64, which changes the product by less than its distance from any other tie.
/// Taps are magnitudes: such products take the negative of the centre tap, ~(64 x tap).
class Weights {
public:
    explicit Weights(int16x8_t fraction) {
        const Taps x(fraction);
        outer0_ = vaddq_s16(x.outer0, x.outer0);
        outer3_ = vaddq_s16(x.outer3, x.outer3);
        centre1_ = vshlq_n_s16(x.centre1, 6);
        centre2_ = vshlq_n_s16(x.centre2, 6);
    }

    struct Row {
        int16x8_t w[4];
    };

    Row outerRow(int16x8_t y) const {
        const int16x8_t y2 = vaddq_s16(y, y);
        const int16x8_t y64 = vshlq_n_s16(y, 6);
        return {{vqrdmulhq_s16(outer0_, y64), vqrdmulhq_s16(vmvnq_s16(centre1_), y2),
                 vqrdmulhq_s16(vmvnq_s16(centre2_), y2), vqrdmulhq_s16(outer3_, y64)}};
    }

    Row centreRow(int16x8_t y) const {
        const int16x8_t y2 = vaddq_s16(y, y);
        const int16x8_t minusY64 = vmvnq_s16(vshlq_n_s16(y, 6));
        return {{vqrdmulhq_s16(outer0_, minusY64), vqrdmulhq_s16(centre1_, y2), vqrdmulhq_s16(centre2_, y2),
                 vqrdmulhq_s16(outer3_, minusY64)}};
    }

private:
    int16x8_t outer0_;  // 2 x tap
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
    int16x8_t scale = vdupq_n_s16(512);  // less the sum of the weights, which may not be 256
    uint8x8_t low = vdup_n_u8(255);
    uint8x8_t high = vdup_n_u8(0);

    void add(const Weights::Row& weights, const uint8x8x4_t& samples) {
        for (int i = 0; i < 4; ++i) {
            accumulate(sum, weights.w[i], samples.val[i]);
            scale = vsubq_s16(scale, weights.w[i]);
        }
    }

    void bound(const uint8x8x4_t& samples) {
        low = vmin_u8(low, vmin_u8(samples.val[1], samples.val[2]));
        high = vmax_u8(high, vmax_u8(samples.val[1], samples.val[2]));
    }

    uint8x8_t value() const {
        // Adding (sum (scale - 256) + 128) >> 8 to the sum, and rounding it by 8 bits, is one rounding by 16.
        const auto normalised = [](int32x4_t sums, int16x4_t factors) {
            return vqrshrun_n_s32(vmlaq_s32(vdupq_n_s32(128), sums, vmovl_s16(factors)), 16);
        };
        const uint16x8_t values = vcombine_u16(normalised(sum.low, vget_low_s16(scale)),
                                               normalised(sum.high, vget_high_s16(scale)));
        return vmin_u8(vmax_u8(vqmovn_u16(values), low), high);
    }
};

/// Eight pixels, and which of them have all their taps.
struct Pixels {
    Wide x;
    Wide y;
    int16x8_t column;  // of the first tap
    int16x8_t row;
    uint16x8_t interior;

    Pixels(const WarpSource& src, const int32_t* atX, const int32_t* atY)
        : x{vld1q_s32(atX), vld1q_s32(atX + kLanes)},
          y{vld1q_s32(atY), vld1q_s32(atY + kLanes)},
          column(firstTap(x)),
          row(firstTap(y)),
          interior(vandq_u16(hasAllTaps(column, src.width), hasAllTaps(row, src.height))) {}

    /// The lanes of `interior`, in bytes.
    uint64_t bits() const { return vget_lane_u64(vreinterpret_u64_u8(vmovn_u16(interior)), 0); }
};

/// Inlined, as nothing may be passed through memory for every eight pixels.
__attribute__((always_inline)) inline uint8x8_t lumaGroup(const WarpSource& src, const Pixels& pixels) {
    const Offsets offsets(pixels.column, pixels.row, pixels.interior, src.yStride);
    uint8_t samples[4][4 * kGroup];
    const uint8_t* const rows[4] = {src.y, src.y + src.yStride, src.y + 2 * src.yStride,
                                    src.y + 3 * src.yStride};
    for (int i = 0; i < kGroup; ++i) {
        for (int j = 0; j < 4; ++j) copy<4>(rows[j] + offsets.at[i], samples[j] + 4 * i);
    }
    const Weights weights(remainders<8>(plus(pixels.x, 128)));
    const Taps down(remainders<8>(plus(pixels.y, 128)));
    Blend blend;
    const uint8x8x4_t row1 = vld4_u8(samples[1]);
    const uint8x8x4_t row2 = vld4_u8(samples[2]);
    blend.bound(row1);
    blend.bound(row2);
    blend.add(weights.centreRow(down.centre1), row1);
    blend.add(weights.centreRow(down.centre2), row2);
    blend.add(weights.outerRow(down.outer0), vld4_u8(samples[0]));
    blend.add(weights.outerRow(down.outer3), vld4_u8(samples[3]));
    return vand_u8(blend.value(), vmovn_u16(pixels.interior));
}

uint32_t luma(const WarpSource& source, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const WarpSource src = source;  // which `out` does not alias
    uint32_t incomplete = 0;
    for (int i = 0; i < count; i += kGroup) {
        const Pixels pixels(src, x + i, y + i);
        const uint64_t interior = pixels.bits();
        incomplete |= uint32_t{interior != UINT64_MAX} << (i / kWarpLanes);
        const uint8x8_t values = interior == 0 ? vdup_n_u8(0) : lumaGroup(src, pixels);
        if (count - i >= kGroup) {
            vst1_u8(out + i, values);
        } else {
            uint8_t some[kGroup];
            vst1_u8(some, values);
            __builtin_memcpy(out + i, some, static_cast<std::size_t>(count - i));
        }
    }
    return incomplete;
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
__attribute__((always_inline)) inline uint8x8x2_t chromaGroup(const WarpSource& src, const Wide& x,
                                                              const Wide& y) {
    const uint16x8_t interior =
        vandq_u16(hasAllTaps(firstTap(x), src.width), hasAllTaps(firstTap(y), src.height));
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

const WarpKernels kWarpNeon = {InstructionSet::Neon, nodes, positions, nullptr, luma, chroma};

}  // namespace vantor

#endif
