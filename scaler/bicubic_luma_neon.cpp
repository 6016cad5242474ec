// Bicubic luma with 128-bit vectors: eight columns per vector of 16-bit lanes.
#if defined(__ARM_NEON)

#include <cstddef>

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

/// At ratios like 3:2 and 15:4 all vectors but the first and the last take the same indices and phases.
inline void planRepeats(BicubicLumaPlan& plan) {
    const auto windowAdvance = [&](int window) {
        return plan.elements.start[window] - plan.elements.start[window - 1];
    };
    plan.advance = windowAdvance(kStarts + 1);
    const auto isRepeated = [](const uint8_t* from, int bytes) {
        for (int i = 0; i < bytes; i += 8) {
            uint64_t now, before;
            __builtin_memcpy(&now, from + i, sizeof now);
            __builtin_memcpy(&before, from + i - bytes, sizeof before);
            if (now != before) return false;
        }
        return true;
    };
    const auto repeatsAt = [&](int column) {
        for (int i = 0; i < kStarts; ++i) {
            if (windowAdvance(column / kLanes + i) != plan.advance) return false;
        }
        return isRepeated(plan.elements.shuffle + kIndexBytes * column, kIndexBytes * kElements) &&
               isRepeated(plan.taps.phase + column, kElements);
    };
    plan.repeatEnd = 2 * kElements;
    while (plan.repeatEnd < plan.taps.columns && repeatsAt(plan.repeatEnd)) plan.repeatEnd += kElements;
}

bool plan(const ColumnTaps& taps, BicubicLumaPlan& plan) {
    plan.taps = taps;
    for (int i = 0; i < taps.columns; i += kLanes) {
        vst1q_s16(plan.phase + i, lessOne(vld1_u8(taps.phase + i)));
    }
    if (!planElements(taps, plan.elements)) return false;
    planRepeats(plan);
    return true;
}

template <int Half, typename Taps>
inline int16x8_t difference(Taps a, Taps b) {
    return vreinterpretq_s16_u16(vsubl_u8(half<Half>(a), half<Half>(b)));
}

/// The clamped cubic of eight columns. With near = p2 - p1 and slope = p2 - p0 its coefficients are
/// cube = p3 - p0 - 3 near, square = 2 near - slope - cube and slope. With linear = ((t cube) >> 5) - cube +
/// 2 near the second product of t is that with s = linear - slope, and since its result is ((t s) >> 5) - s,
/// the third one is that with result + linear. No lane leaves 16 bits: |cube| <= 1020, |linear| <= 1530, |s|
/// <= 1785 and the last sum is at most 3315.
template <int Half, typename Taps>
inline uint8x8_t cubic(const Taps (&taps)[4], const Phases& t) {
    const int16x8_t near = difference<Half>(taps[2], taps[1]);
    const int16x8_t slope = difference<Half>(taps[2], taps[0]);
    const int16x8_t cube = vmlsq_s16(difference<Half>(taps[3], taps[0]), near, vdupq_n_s16(3));
    const int16x8_t linear = vmlaq_s16(vqdmulhq_s16(cube, t.lessOne), near, vdupq_n_s16(2));
    const int16x8_t second = vqdmulhq_s16(vsubq_s16(linear, slope), t.lessOne);
    const int16x8_t step = vqdmulhq_s16(vaddq_s16(second, linear), t.over64);
    return vqmovun_s16(vreinterpretq_s16_u16(addHalf<Half>(vreinterpretq_u16_s16(step), taps[1])));
}

template <int Windows>
inline void filterColumns(const BicubicLumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out,
                          int first, int end) {
    const uint32_t* start = plan.elements.start + first / kLanes;
    const uint8_t* shuffle = plan.elements.shuffle + kIndexBytes * first;
    const int16_t* phase = independent(plan.phase + first);
    uint8_t* const last = out + end;
    out += first;
    while (out < last) {
        const Elements taps = gather<Windows>(row, next, start, loadIndices(shuffle));
        start += kStarts;
        shuffle += kIndexBytes * kElements;
        forHalves([&](auto half) {
            vst1_u8(out, cubic<decltype(half)::value>(taps.byte, phases(vld1q_s16(phase))));
            phase += kLanes;
            out += kLanes;
        });
    }
}

/// Columns kElements to repeatEnd.
template <int Windows>
inline void filterRepeats(const BicubicLumaPlan& plan, const uint8_t* row, const uint8_t* next,
                          uint8_t* out) {
    const Indices indices = loadIndices(plan.elements.shuffle + kIndexBytes * kElements);
    Phases t[kStarts];
    uint32_t start[kStarts];
    for (int i = 0; i < kStarts; ++i) {
        t[i] = phases(vld1q_s16(plan.phase + kElements + i * kLanes));
        start[i] = plan.elements.start[kStarts + i] - plan.elements.start[kStarts];
    }
    const uint8_t* from = row + plan.elements.start[kStarts];
    const std::ptrdiff_t toNext = next - row;
    const std::ptrdiff_t advance = plan.advance * kStarts;
    uint8_t* const end = out + plan.repeatEnd;
    out += kElements;
    while (out < end) {
        const Elements taps = gather<Windows>(from, from + toNext, start, indices);
        from += advance;
        forHalves([&](auto half) {
            vst1_u8(out, cubic<decltype(half)::value>(taps.byte, t[decltype(half)::value]));
            out += kLanes;
        });
    }
}

void filterRow(const BicubicLumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out) {
    withWindows<2, 4>(plan.elements, [&](auto windows) {
        constexpr int kWindows = decltype(windows)::value;
        int first = 0;
        if (plan.repeatEnd > 2 * kElements) {
            filterColumns<kWindows>(plan, row, next, out, 0, kElements);
            filterRepeats<kWindows>(plan, row, next, out);
            first = plan.repeatEnd;
        }
        filterColumns<kWindows>(plan, row, next, out, first, plan.taps.columns);
    });
}

void blendRows(const uint8_t* const rows[4], int phase, uint8_t* out, int columns) {
    const Phases t = phases(lessOne(vdup_n_u8(static_cast<uint8_t>(phase))));
    const uint8_t* row[4] = {rows[0], rows[1], rows[2], rows[3]};
    storeVectors(out, columns, [&] {
        const uint8x16_t taps[4] = {loadNext(row[0]), loadNext(row[1]), loadNext(row[2]), loadNext(row[3])};
        return vcombine_u8(cubic<0>(taps, t), cubic<1>(taps, t));
    });
}

}  // namespace

const BicubicLumaKernels kBicubicLumaNeon = {InstructionSet::Neon, plan, filterRow, blendRows};

}  // namespace vantor

#endif
