#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace vantor {
namespace {

using I32 = __m512i;  // sixteen lanes
using I16 = __m512i;  // 32 lanes
using Bytes = __m512i;

constexpr int kLanes = 16;   // 32-bit lanes of a register
constexpr int kWindow = 32;  // bytes of a row that one permutation reaches

I32 load(const void* from) {
    return _mm512_loadu_si512(from);
}

I32 all(int32_t value) {
    return _mm512_set1_epi32(value);
}

/// What positions of one coordinate are computed from, sixteen columns at a time.
class Line {
public:
    explicit Line(const WarpLine& line)
        : excessAtStart_(_mm512_add_epi32(_mm512_slli_epi32(all(line.excess), 9), all(256))),
          excessStep_(_mm512_slli_epi32(all(line.excess), 1)),
          start_(all(line.start)),
          difference_(all(line.difference)),
          slopeChange_(all(line.slopeChange)),
          invScale_(all(line.invScale)),
          invScaleAndOne_(all(line.invScale | 1 << 16)),
          base_(_mm512_add_epi32(
              all(line.base),
              _mm512_mullo_epi32(_mm512_setr_epi32(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15),
                                 all(line.step)))),
          step_(_mm512_slli_epi32(all(line.step), 4)) {}

    I32 next(I32 u, I32 q) {
        // Both terms wrap, but their difference, excess (512 - 2u) + 256, fits.
        const I32 ex =
            _mm512_srai_epi32(_mm512_sub_epi32(excessAtStart_, _mm512_mullo_epi32(u, excessStep_)), 9);
        const I32 bulge = _mm512_mullo_epi32(_mm512_add_epi32(ex, slopeChange_), q);
        const I32 gx = _mm512_srai_epi32(_mm512_add_epi32(bulge, all(1024)), 11);
        const I32 linear =
            _mm512_srai_epi32(_mm512_add_epi32(_mm512_mullo_epi32(u, difference_), all(256)), 9);
        const I32 position =
            _mm512_add_epi32(base_, move(_mm512_sub_epi32(_mm512_add_epi32(start_, linear), gx)));
        base_ = _mm512_add_epi32(base_, step_);
        return position;
    }

private:
    /// 24 bits by 15: the upper 16 bits of d apart from its lower eight, to which the rounding is added.
    I32 move(I32 d) const {
        const I32 upper = _mm512_madd_epi16(_mm512_srai_epi32(d, 8), invScale_);
        // (d and 255) or the rounding.
        const I32 lower = _mm512_ternarylogic_epi32(d, all(255), all(4096 << 16), 0xEA);
        const I32 carried = _mm512_srai_epi32(_mm512_madd_epi16(lower, invScaleAndOne_), 8);
        return _mm512_srai_epi32(_mm512_add_epi32(upper, carried), 5);
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

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    Line lineX(run.x);
    Line lineY(run.y);
    for (int i = 0; i < run.count; i += kLanes) {
        const I32 u = load(run.within + i);
        const I32 q = load(run.bulge + i);
        _mm512_storeu_si512(x + i, lineX.next(u, q));
        _mm512_storeu_si512(y + i, lineY.next(u, q));
    }
}

/// Lanes where luma has all its taps along one axis: index 2 to size - 2.
__mmask16 hasAllTaps(I32 position, int size) {
    return _mm512_cmplt_epu32_mask(_mm512_sub_epi32(position, all(384)), all((size - 3) * 256));
}

/// Rows of four bytes for each of sixteen pixels.
template <int rows>
struct Samples {
    Bytes row[rows];

    /// From the offsets of the first bytes. Where pixels follow each other from left to right in one row or
    /// two, a window at the first and one at the last hold all their taps. The plane's last window reaches
    /// its last pixel.
    Samples(const uint8_t* plane, int stride, int lastWindow, I32 offsets) {
        const int first = _mm_cvtsi128_si32(_mm512_castsi512_si128(offsets));
        const int last = _mm_extract_epi32(_mm512_extracti32x4_epi32(offsets, 3), 3);
        const int starts[2] = {first < lastWindow ? first : lastWindow, last < kReach ? 0 : last - kReach};
        const I32 fromFirst = _mm512_sub_epi32(offsets, all(starts[0]));
        const I32 fromLast = _mm512_sub_epi32(offsets, all(starts[1]));
        const __mmask16 byFirst = _mm512_cmple_epu32_mask(fromFirst, all(kReach));
        const __mmask16 byLast = _mm512_cmple_epu32_mask(fromLast, all(kReach));
        if ((byFirst | byLast) != 0xFFFF) {
            for (Bytes& samples : row) {
                samples = _mm512_i32gather_epi32(offsets, plane, 1);
                plane += stride;
            }
            return;
        }
        const Bytes taps = tapBytes(fromFirst);
        const Bytes otherTaps = tapBytes(fromLast);
        for (Bytes& samples : row) {
            const Bytes permuted = _mm512_permutexvar_epi8(taps, window(plane + starts[0]));
            samples = _mm512_mask_mov_epi32(_mm512_permutexvar_epi8(otherTaps, window(plane + starts[1])),
                                            byFirst, permuted);
            plane += stride;
        }
    }

private:
    static constexpr int kReach = kWindow - 4;

    static Bytes tapBytes(I32 within) {
        const Bytes fourTimes = _mm512_broadcast_i32x4(_mm_setr_epi32(0, 0x04040404, 0x08080808, 0x0C0C0C0C));
        return _mm512_add_epi8(_mm512_shuffle_epi8(within, fourTimes), all(0x03020100));
    }
    static Bytes window(const uint8_t* from) {
        return _mm512_castsi256_si512(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(from)));
    }
};

int lastWindow(const WarpSource& src, int planeRows, int rows) {
    return src.width * (planeRows - rows + 1) - kWindow;
}

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    __mmask16 interior;
    I32 fractionX;
    I32 fractionY;
    I32 offsets;  // of their first taps; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const I32 atX = load(x);
        const I32 atY = load(y);
        interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
        // Moved by two samples, so that the index is that of the first tap.
        const I32 firstX = _mm512_sub_epi32(atX, all(384));
        const I32 firstY = _mm512_sub_epi32(atY, all(384));
        fractionX = _mm512_and_si512(firstX, all(255));
        fractionY = _mm512_and_si512(firstY, all(255));
        const I32 row = _mm512_mullo_epi32(_mm512_srai_epi32(firstY, 8), all(src.width));
        offsets = _mm512_maskz_add_epi32(interior, row, _mm512_srai_epi32(firstX, 8));
    }
};

/// The magnitudes of the four taps' weights at 32 phases p: of p (256 - p)^2, 2^25 - p^2 (1280 - 3p), p 2^16
/// + p^2 (1024 - 3p) and p^2 (256 - p), over 2^17, rounded. (x / 2^16 rounded down, plus 1) / 2 is that.
struct Taps {
    I16 outer0;
    I16 centre1;
    I16 centre2;
    I16 outer3;

    explicit Taps(I16 p) {
        const I16 zero = _mm512_setzero_si512();
        const I16 whole = _mm512_set1_epi16(256);
        const I16 q = _mm512_sub_epi16(whole, p);
        const I16 pq = _mm512_mullo_epi16(p, q);
        const I16 pp = _mm512_mullo_epi16(p, p);
        const I16 slope =
            _mm512_sub_epi16(_mm512_set1_epi16(1280), _mm512_add_epi16(_mm512_add_epi16(p, p), p));
        outer0 = _mm512_avg_epu16(_mm512_mulhi_epu16(pq, q), zero);
        outer3 = _mm512_avg_epu16(_mm512_mulhi_epu16(pq, p), zero);
        centre1 = _mm512_sub_epi16(whole, _mm512_avg_epu16(_mm512_mulhi_epu16(pp, slope), zero));
        centre2 = _mm512_avg_epu16(_mm512_mulhi_epu16(pp, _mm512_sub_epi16(slope, whole)), p);
    }
};

/// The sixteen weights of 32 pixels: (128 x product + 2^14) >> 15 rounds halves up. Where one factor is an
/// outer tap (never positive) and the other a centre tap (never negative), halves must go down: the centre
/// tap is enlarged by 1/64, which moves the product by less than its distance from any other half.
class Weights {
public:
    Weights(I16 fractionX, I16 fractionY) : y_(fractionY) {
        const Taps x(fractionX);
        outer0_ = minusTwice(x.outer0);
        outer3_ = minusTwice(x.outer3);
        centre1_ = _mm512_slli_epi16(x.centre1, 6);
        centre2_ = _mm512_slli_epi16(x.centre2, 6);
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
        return _mm512_sub_epi16(_mm512_setzero_si512(), _mm512_add_epi16(tap, tap));
    }
    static I16 enlarged(I16 tap64) { return _mm512_or_si512(tap64, _mm512_set1_epi16(1)); }

    Row outerRow(I16 y) const {
        const I16 y32 = _mm512_slli_epi16(y, 5);
        return {_mm512_mulhrs_epi16(outer0_, y32), _mm512_mulhrs_epi16(enlarged(centre1_), y),
                _mm512_mulhrs_epi16(enlarged(centre2_), y), _mm512_mulhrs_epi16(outer3_, y32)};
    }
    Row centreRow(I16 y) const {
        const I16 y2 = _mm512_add_epi16(y, y);
        const I16 y64 = enlarged(_mm512_slli_epi16(y, 6));
        return {_mm512_mulhrs_epi16(outer0_, y64), _mm512_mulhrs_epi16(centre1_, y2),
                _mm512_mulhrs_epi16(centre2_, y2), _mm512_mulhrs_epi16(outer3_, y64)};
    }

    Taps y_;
    I16 outer0_;  // -2 x tap
    I16 outer3_;
    I16 centre1_;  // 64 x tap
    I16 centre2_;
};

/// The weighted sum of sixteen pixels, normalised and clamped by their 2 x 2 centre taps.
__m128i finish(I32 sum, I32 missing, const Samples<4>& samples) {
    const I32 half = all(128);
    const I32 byte = all(255);
    const I32 correction = _mm512_srai_epi32(_mm512_add_epi32(_mm512_mullo_epi32(sum, missing), half), 8);
    const I32 value = _mm512_srai_epi32(_mm512_add_epi32(_mm512_add_epi32(sum, correction), half), 8);
    const Bytes least = _mm512_min_epu8(samples.row[1], samples.row[2]);
    const Bytes most = _mm512_max_epu8(samples.row[1], samples.row[2]);
    const I32 low =
        _mm512_and_si512(_mm512_srli_epi32(_mm512_min_epu8(least, _mm512_srli_epi32(least, 8)), 8), byte);
    const I32 high =
        _mm512_and_si512(_mm512_srli_epi32(_mm512_max_epu8(most, _mm512_srli_epi32(most, 8)), 8), byte);
    return _mm512_cvtepi32_epi8(_mm512_min_epi32(_mm512_max_epi32(value, low), high));
}

/// The first `count` bytes; those outside `chosen` are 0.
void storeSome(uint8_t* out, __m128i bytes, __mmask16 chosen, int count) {
    const auto stored = static_cast<__mmask16>(count >= kLanes ? 0xFFFF : (1 << count) - 1);
    _mm_mask_storeu_epi8(out, stored, _mm_maskz_mov_epi8(chosen, bytes));
}

/// 32 pixels; unpacking 16-bit lanes that were packed gives 32-bit lanes in natural order.
void blend(const WarpSource& src, const Pixels& left, const Pixels& right, uint8_t* out, int count) {
    const int last = lastWindow(src, src.height, 4);
    const Samples<4> samplesLeft(src.y, src.width, last, left.offsets);
    const Samples<4> samplesRight(src.y, src.width, last, right.offsets);
    const Weights weights(_mm512_packus_epi32(left.fractionX, right.fractionX),
                          _mm512_packus_epi32(left.fractionY, right.fractionY));
    const I16 lowBytes = _mm512_set1_epi16(255);
    I32 sumLeft = _mm512_setzero_si512();
    I32 sumRight = _mm512_setzero_si512();
    I16 missing = _mm512_set1_epi16(256);  // what the weights lack, -5 to 5
    for (int j = 0; j < 4; ++j) {
        const Weights::Row w = weights.row(j);
        const auto add = [&](I32& sum, Bytes bytes, I16 even, I16 odd) {
            sum = _mm512_add_epi32(sum, _mm512_madd_epi16(_mm512_and_si512(bytes, lowBytes), even));
            sum = _mm512_add_epi32(sum, _mm512_madd_epi16(_mm512_srli_epi16(bytes, 8), odd));
        };
        add(sumLeft, samplesLeft.row[j], _mm512_unpacklo_epi16(w.w0, w.w2),
            _mm512_unpacklo_epi16(w.w1, w.w3));
        add(sumRight, samplesRight.row[j], _mm512_unpackhi_epi16(w.w0, w.w2),
            _mm512_unpackhi_epi16(w.w1, w.w3));
        missing = _mm512_sub_epi16(
            missing, _mm512_add_epi16(_mm512_add_epi16(w.w0, w.w1), _mm512_add_epi16(w.w2, w.w3)));
    }
    const I16 sign = _mm512_srai_epi16(missing, 15);
    storeSome(out, finish(sumLeft, _mm512_unpacklo_epi16(missing, sign), samplesLeft), left.interior, count);
    if (count <= kLanes) return;
    storeSome(out + kLanes, finish(sumRight, _mm512_unpackhi_epi16(missing, sign), samplesRight),
              right.interior, count - kLanes);
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    unsigned someOutside = 0;
    for (int i = 0; i < count; i += 2 * kLanes) {
        const Pixels left(src, x + i, y + i);
        const Pixels right(src, x + i + kLanes, y + i + kLanes);
        someOutside |= 0xFFFFU & ~static_cast<unsigned>(left.interior & right.interior);
        if ((left.interior | right.interior) == 0) {
            const __m128i zero = _mm_setzero_si128();
            storeSome(out + i, zero, 0, count - i);
            if (count - i > kLanes) storeSome(out + i + kLanes, zero, 0, count - i - kLanes);
        } else {
            blend(src, left, right, out + i, count - i);
        }
    }
    return someOutside == 0;
}

/// The even ones of 32 positions.
I32 evenLanes(const int32_t* from) {
    const I32 evens = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    return _mm512_permutex2var_epi32(load(from), evens, load(from + kLanes));
}

/// Two 16-bit halves of every lane.
I16 halves(I32 low, I32 high) {
    return _mm512_mask_blend_epi16(0xAAAAAAAA, low, _mm512_slli_epi32(high, 16));
}

/// Sixteen pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
void chromaGroup(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const I32 atX = evenLanes(x);
    const I32 atY = evenLanes(y);
    const __mmask16 interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
    const I32 fraction = all(511);
    const I32 whole = all(512);
    const I32 fromX = _mm512_sub_epi32(atX, all(128));
    const I32 fromY = _mm512_sub_epi32(atY, all(128));
    const I32 row = _mm512_mullo_epi32(_mm512_srai_epi32(fromY, 9), all(src.width));
    const I32 column = _mm512_slli_epi32(_mm512_srai_epi32(fromX, 9), 1);
    const Samples<2> samples(src.uv, src.width, lastWindow(src, src.height / 2, 2),
                             _mm512_maskz_add_epi32(interior, row, column));
    const I32 right = _mm512_and_si512(fromX, fraction);
    const I32 upper = _mm512_sub_epi32(whole, _mm512_and_si512(fromY, fraction));
    const I16 across = halves(_mm512_sub_epi32(whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const I16 top =
        _mm512_mulhrs_epi16(_mm512_slli_epi16(across, 3), _mm512_slli_epi16(halves(upper, upper), 3));
    const I16 weights[2] = {top, _mm512_sub_epi16(across, top)};
    const I16 lowBytes = _mm512_set1_epi16(255);
    I32 u = all(256);
    I32 v = u;
    for (int j = 0; j < 2; ++j) {
        const Bytes bytes = samples.row[j];
        u = _mm512_add_epi32(u, _mm512_madd_epi16(_mm512_and_si512(bytes, lowBytes), weights[j]));
        v = _mm512_add_epi32(v, _mm512_madd_epi16(_mm512_srli_epi16(bytes, 8), weights[j]));
    }
    const I32 pairs = _mm512_or_si512(_mm512_srai_epi32(u, 9), _mm512_slli_epi32(_mm512_srai_epi32(v, 9), 8));
    const I32 chosen = _mm512_mask_mov_epi32(all(0x8080), interior, pairs);
    const auto stored = static_cast<__mmask16>(count >= kLanes ? 0xFFFF : (1 << count) - 1);
    _mm512_mask_cvtepi32_storeu_epi16(out, stored, chosen);
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    for (int i = 0; i < pairs; i += kLanes) chromaGroup(src, x + 2 * i, y + 2 * i, pairs - i, out + 2 * i);
}

}  // namespace

const WarpKernels kWarpAvx512 = {InstructionSet::Avx512, positions, luma, chroma};

}  // namespace vantor

#endif
