#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace vantor {
namespace {

using I32 = __m256i;  // eight lanes
using I16 = __m256i;  // sixteen lanes
using Bytes = __m256i;

constexpr int kLanes = 8;   // 32-bit lanes of a register
constexpr int kGroup = 16;  // pixels whose weights are worked out together

I32 load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

void store(void* to, __m256i value) {
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

I32 all(int32_t value) {
    return _mm256_set1_epi32(value);
}

/// What positions of one coordinate are computed from, eight columns at a time.
template <bool isShort>
class Line {
public:
    explicit Line(const WarpLine& line)
        : excessAtStart_(_mm256_add_epi32(_mm256_slli_epi32(all(line.excess), 9), all(256))),
          excessStep_(_mm256_slli_epi32(all(line.excess), 1)),
          start_(all(line.start)),
          difference_(all(line.difference)),
          slopeChange_(all(line.slopeChange)),
          invScale_(all(line.invScale)),
          invScaleAndOne_(all(line.invScale | 1 << 16)),
          base_(_mm256_add_epi32(
              all(line.base), _mm256_mullo_epi32(_mm256_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7), all(line.step)))),
          step_(_mm256_slli_epi32(all(line.step), 3)) {}

    I32 next(I32 u, I32 q) {
        // Both terms wrap, but their difference, excess (512 - 2u) + 256, fits.
        const I32 ex =
            _mm256_srai_epi32(_mm256_sub_epi32(excessAtStart_, _mm256_mullo_epi32(u, excessStep_)), 9);
        const I32 bulge = _mm256_mullo_epi32(_mm256_add_epi32(ex, slopeChange_), q);
        const I32 gx = _mm256_srai_epi32(_mm256_add_epi32(bulge, all(1024)), 11);
        const I32 linear =
            _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(u, difference_), all(256)), 9);
        const I32 position =
            _mm256_add_epi32(base_, move(_mm256_sub_epi32(_mm256_add_epi32(start_, linear), gx)));
        base_ = _mm256_add_epi32(base_, step_);
        return position;
    }

private:
    /// 24 bits by 15: the upper 16 bits of d apart from its lower eight, to which the rounding is added.
    I32 move(I32 d) const {
        if (isShort)
            return _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(d, invScale_), all(4096)), 13);
        const I32 upper = _mm256_madd_epi16(_mm256_srai_epi32(d, 8), invScale_);
        const I32 lower = _mm256_blend_epi16(_mm256_and_si256(d, all(255)), all(4096 << 16), 0xAA);
        const I32 carried = _mm256_srai_epi32(_mm256_madd_epi16(lower, invScaleAndOne_), 8);
        return _mm256_srai_epi32(_mm256_add_epi32(upper, carried), 5);
    }

    I32 excessAtStart_;
    I32 excessStep_;
    I32 start_;
    I32 difference_;
    I32 slopeChange_;
    I32 invScale_;
    I32 invScaleAndOne_;
    I32 base_;
    I32 step_;
};

template <bool isShort>
void locate(const WarpRun& run, int32_t* x, int32_t* y) {
    Line<isShort> lineX(run.x);
    Line<isShort> lineY(run.y);
    for (int i = 0; i < run.count; i += kLanes) {
        const I32 u = load(run.within + i);
        const I32 q = load(run.bulge + i);
        store(x + i, lineX.next(u, q));
        store(y + i, lineY.next(u, q));
    }
}

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    const auto locateAll = run.isShort ? locate<true> : locate<false>;
    locateAll(run, x, y);
}

/// Sixteen positions along one axis. Packing leaves 16-bit lanes in the order 0-3, 8-11, 4-7, 12-15, so that
/// unpacking gives 32-bit lanes in natural order: pixels 0-7, then 8-15.
struct Axis {
    I16 index;     // of the first tap; saturated, beyond any picture
    I16 fraction;  // 0 to 255

    Axis(I32 first, I32 second) {
        const I32 half = _mm256_set1_epi32(128);
        const I32 byte = _mm256_set1_epi32(255);
        first = _mm256_add_epi32(first, half);
        second = _mm256_add_epi32(second, half);
        index =
            _mm256_subs_epi16(_mm256_packs_epi32(_mm256_srai_epi32(first, 8), _mm256_srai_epi32(second, 8)),
                              _mm256_set1_epi16(2));
        fraction = _mm256_packus_epi32(_mm256_and_si256(first, byte), _mm256_and_si256(second, byte));
    }

    /// Lanes whose four taps lie inside `size` samples, in order.
    I16 isInterior(int size) const {
        const I16 last = _mm256_set1_epi16(static_cast<int16_t>(size - 4));
        return _mm256_cmpeq_epi16(_mm256_min_epu16(index, last), index);
    }
};

/// The magnitudes of the four taps' weights at sixteen phases p: of p (256 - p)^2, 2^25 - p^2 (1280 - 3p), p
/// 2^16 + p^2 (1024 - 3p) and p^2 (256 - p), over 2^17, rounded. (x / 2^16 rounded down, plus 1) / 2 is
/// that.
struct Taps {
    I16 outer0;
    I16 centre1;
    I16 centre2;
    I16 outer3;

    explicit Taps(I16 p) {
        const I16 zero = _mm256_setzero_si256();
        const I16 whole = _mm256_set1_epi16(256);
        const I16 q = _mm256_sub_epi16(whole, p);
        const I16 pq = _mm256_mullo_epi16(p, q);
        const I16 pp = _mm256_mullo_epi16(p, p);
        const I16 slope =
            _mm256_sub_epi16(_mm256_set1_epi16(1280), _mm256_add_epi16(_mm256_add_epi16(p, p), p));
        outer0 = _mm256_avg_epu16(_mm256_mulhi_epu16(pq, q), zero);
        outer3 = _mm256_avg_epu16(_mm256_mulhi_epu16(pq, p), zero);
        centre1 = _mm256_sub_epi16(whole, _mm256_avg_epu16(_mm256_mulhi_epu16(pp, slope), zero));
        centre2 = _mm256_avg_epu16(_mm256_mulhi_epu16(pp, _mm256_sub_epi16(slope, whole)), p);
    }
};

/// The sixteen weights of sixteen pixels: (128 x product + 2^14) >> 15 rounds halves up. Where one factor is
/// an outer tap (never positive) and the other a centre tap (never negative), halves must go down: the centre
/// tap is enlarged by 1/64, which moves the product by less than its distance from any other half.
class Weights {
public:
    Weights(I16 fractionX, I16 fractionY) : y_(fractionY) {
        const Taps x(fractionX);
        outer0_ = minusTwice(x.outer0);
        outer3_ = minusTwice(x.outer3);
        centre1_ = _mm256_slli_epi16(x.centre1, 6);
        centre2_ = _mm256_slli_epi16(x.centre2, 6);
    }

    /// The weights of one row's four taps.
    struct Row {
        I16 w0;
        I16 w1;
        I16 w2;
        I16 w3;
    };

    Row row(int j) const {
        if (j == 0) return outerRow(minusTwice(y_.outer0));
        if (j == 1) return centreRow(y_.centre1);
        if (j == 2) return centreRow(y_.centre2);
        return outerRow(minusTwice(y_.outer3));
    }

private:
    static I16 minusTwice(I16 tap) {
        return _mm256_sub_epi16(_mm256_setzero_si256(), _mm256_add_epi16(tap, tap));
    }
    static I16 enlarged(I16 tap64) { return _mm256_or_si256(tap64, _mm256_set1_epi16(1)); }

    Row outerRow(I16 y) const {
        const I16 y32 = _mm256_slli_epi16(y, 5);
        return {_mm256_mulhrs_epi16(outer0_, y32), _mm256_mulhrs_epi16(enlarged(centre1_), y),
                _mm256_mulhrs_epi16(enlarged(centre2_), y), _mm256_mulhrs_epi16(outer3_, y32)};
    }
    Row centreRow(I16 y) const {
        const I16 y2 = _mm256_add_epi16(y, y);
        const I16 y64 = enlarged(_mm256_slli_epi16(y, 6));
        return {_mm256_mulhrs_epi16(outer0_, y64), _mm256_mulhrs_epi16(centre1_, y2),
                _mm256_mulhrs_epi16(centre2_, y2), _mm256_mulhrs_epi16(outer3_, y64)};
    }

    Taps y_;
    I16 outer0_;  // -2 x tap
    I16 outer3_;
    I16 centre1_;  // 64 x tap
    I16 centre2_;
};

/// Rows of four bytes for each of eight pixels.
template <int rows>
struct Samples {
    Bytes row[rows];

    /// From the offsets of the first bytes.
    Samples(const uint8_t* plane, int stride, I32 offsets) {
        for (Bytes& samples : row) {
            samples = _mm256_i32gather_epi32(reinterpret_cast<const int*>(plane), offsets, 1);
            plane += stride;
        }
    }
};

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    I16 interior;
    I16 fractionX;
    I16 fractionY;
    I32 offsets[2];  // of the first taps; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const Axis atX(load(x), load(x + kLanes));
        const Axis atY(load(y), load(y + kLanes));
        interior = _mm256_and_si256(atX.isInterior(src.width), atY.isInterior(src.height));
        fractionX = atX.fraction;
        fractionY = atY.fraction;
        const I16 column = _mm256_and_si256(atX.index, interior);
        const I16 row = _mm256_and_si256(atY.index, interior);
        const I16 strides = all(src.width << 16 | 1);
        offsets[0] = _mm256_madd_epi16(_mm256_unpacklo_epi16(column, row), strides);
        offsets[1] = _mm256_madd_epi16(_mm256_unpackhi_epi16(column, row), strides);
    }
};

/// 2 x 2 centre taps of eight pixels: the bytes' least and greatest, in 32-bit lanes.
struct Bounds {
    I32 low;
    I32 high;

    explicit Bounds(const Samples<4>& samples) {
        const Bytes above = samples.row[1];
        const Bytes below = samples.row[2];
        const Bytes least = _mm256_min_epu8(above, below);
        const Bytes most = _mm256_max_epu8(above, below);
        const I32 byte = _mm256_set1_epi32(255);
        low =
            _mm256_and_si256(_mm256_srli_epi32(_mm256_min_epu8(least, _mm256_srli_epi32(least, 8)), 8), byte);
        high =
            _mm256_and_si256(_mm256_srli_epi32(_mm256_max_epu8(most, _mm256_srli_epi32(most, 8)), 8), byte);
    }
};

/// The weighted sum of eight pixels, normalised and clamped.
I32 finish(I32 sum, I32 missing, const Bounds& bounds) {
    const I32 half = _mm256_set1_epi32(128);
    const I32 correction = _mm256_srai_epi32(_mm256_add_epi32(_mm256_mullo_epi32(sum, missing), half), 8);
    const I32 value = _mm256_srai_epi32(_mm256_add_epi32(_mm256_add_epi32(sum, correction), half), 8);
    return _mm256_min_epi32(_mm256_max_epi32(value, bounds.low), bounds.high);
}

/// Sixteen bytes of luma.
__m128i blend(const WarpSource& src, const Pixels& pixels) {
    const Samples<4> left(src.y, src.width, pixels.offsets[0]);
    const Samples<4> right(src.y, src.width, pixels.offsets[1]);
    const Weights weights(pixels.fractionX, pixels.fractionY);
    const I16 lowBytes = _mm256_set1_epi16(255);
    I32 sumLeft = _mm256_setzero_si256();
    I32 sumRight = _mm256_setzero_si256();
    I16 missing = _mm256_set1_epi16(256);  // what the weights lack, -5 to 5
    for (int j = 0; j < 4; ++j) {
        const Weights::Row w = weights.row(j);
        const auto add = [&](I32& sum, Bytes bytes, I16 even, I16 odd) {
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_and_si256(bytes, lowBytes), even));
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_srli_epi16(bytes, 8), odd));
        };
        add(sumLeft, left.row[j], _mm256_unpacklo_epi16(w.w0, w.w2), _mm256_unpacklo_epi16(w.w1, w.w3));
        add(sumRight, right.row[j], _mm256_unpackhi_epi16(w.w0, w.w2), _mm256_unpackhi_epi16(w.w1, w.w3));
        missing = _mm256_sub_epi16(
            missing, _mm256_add_epi16(_mm256_add_epi16(w.w0, w.w1), _mm256_add_epi16(w.w2, w.w3)));
    }
    const I16 sign = _mm256_srai_epi16(missing, 15);
    const I32 valueLeft = finish(sumLeft, _mm256_unpacklo_epi16(missing, sign), Bounds(left));
    const I32 valueRight = finish(sumRight, _mm256_unpackhi_epi16(missing, sign), Bounds(right));
    const I16 values = _mm256_and_si256(_mm256_packs_epi32(valueLeft, valueRight), pixels.interior);
    const Bytes packed =
        _mm256_packus_epi16(values, values);  // 0-3, 8-11 in one half, 4-7, 12-15 in the other
    return _mm_unpacklo_epi32(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1));
}

/// All of the bytes, or the first `count`.
void storeSome(uint8_t* out, __m128i bytes, int count) {
    if (count >= kGroup) {
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
        return;
    }
    uint8_t values[kGroup];
    _mm_storeu_si128(reinterpret_cast<__m128i*>(values), bytes);
    __builtin_memcpy(out, values, static_cast<std::size_t>(count));
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    int someOutside = 0;
    for (int i = 0; i < count; i += kGroup) {
        const Pixels pixels(src, x + i, y + i);
        const int interior = _mm256_movemask_epi8(pixels.interior);
        someOutside |= ~interior;
        storeSome(out + i, interior == 0 ? _mm_setzero_si128() : blend(src, pixels), count - i);
    }
    return someOutside == 0;
}

/// The even ones of sixteen positions.
I32 evenLanes(const int32_t* from) {
    const __m256 pairs =
        _mm256_shuffle_ps(_mm256_castsi256_ps(load(from)), _mm256_castsi256_ps(load(from + kLanes)), 0x88);
    return _mm256_permute4x64_epi64(_mm256_castps_si256(pairs), 0xD8);
}

/// Whether luma has all its taps at a position: index 2 to size - 2.
I32 hasAllTaps(I32 position, int size) {
    const I32 last = _mm256_set1_epi32((size - 3) * 256 - 1);
    const I32 from = _mm256_sub_epi32(position, _mm256_set1_epi32(384));
    return _mm256_cmpeq_epi32(_mm256_min_epu32(from, last), from);
}

/// Two 16-bit halves of every lane.
I16 halves(I32 low, I32 high) {
    return _mm256_blend_epi16(low, _mm256_slli_epi32(high, 16), 0xAA);
}

/// Eight pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
__m128i chromaGroup(const WarpSource& src, const int32_t* x, const int32_t* y) {
    const I32 atX = evenLanes(x);
    const I32 atY = evenLanes(y);
    const I32 interior = _mm256_and_si256(hasAllTaps(atX, src.width), hasAllTaps(atY, src.height));
    const I32 fraction = all(511);
    const I32 whole = all(512);
    const I32 fromX = _mm256_sub_epi32(atX, all(128));
    const I32 fromY = _mm256_sub_epi32(atY, all(128));
    const I16 places = halves(_mm256_srai_epi32(fromX, 9), _mm256_srai_epi32(fromY, 9));
    const I32 offsets = _mm256_madd_epi16(_mm256_and_si256(places, interior), all(src.width << 16 | 2));
    const Samples<2> samples(src.uv, src.width, offsets);
    const I32 right = _mm256_and_si256(fromX, fraction);
    const I32 upper = _mm256_sub_epi32(whole, _mm256_and_si256(fromY, fraction));
    const I16 across = halves(_mm256_sub_epi32(whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const I16 top =
        _mm256_mulhrs_epi16(_mm256_slli_epi16(across, 3), _mm256_slli_epi16(halves(upper, upper), 3));
    const I16 weights[2] = {top, _mm256_sub_epi16(across, top)};
    const I16 lowBytes = _mm256_set1_epi16(255);
    I32 u = all(256);
    I32 v = u;
    for (int j = 0; j < 2; ++j) {
        const Bytes bytes = samples.row[j];
        u = _mm256_add_epi32(u, _mm256_madd_epi16(_mm256_and_si256(bytes, lowBytes), weights[j]));
        v = _mm256_add_epi32(v, _mm256_madd_epi16(_mm256_srli_epi16(bytes, 8), weights[j]));
    }
    const I32 pairs = _mm256_or_si256(_mm256_srai_epi32(u, 9), _mm256_slli_epi32(_mm256_srai_epi32(v, 9), 8));
    const I32 chosen = _mm256_blendv_epi8(all(0x8080), pairs, interior);
    const I16 packed = _mm256_packus_epi32(chosen, chosen);
    return _mm_unpacklo_epi64(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1));
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    for (int i = 0; i < pairs; i += kLanes) {
        storeSome(out + 2 * i, chromaGroup(src, x + 2 * i, y + 2 * i), 2 * (pairs - i));
    }
}

}  // namespace

const WarpKernels kWarpAvx2 = {InstructionSet::Avx2, positions, luma, chroma};

}  // namespace vantor

#endif
