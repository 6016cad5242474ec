#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

namespace vantor {
namespace {

using I32 = __m256i;  // eight lanes
using I16 = __m256i;  // sixteen lanes
using Bytes = __m256i;

constexpr int kLanes = 8;    // 32-bit lanes of a register
constexpr int kGroup = 16;   // pixels whose weights are worked out together
constexpr int kBatch = 64;   // pixels whose samples are collected before any is used
constexpr int kWindow = 16;  // bytes of a row that one shuffle reaches

I32 load(const void* from) {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

void store(void* to, __m256i value) {
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

// 32-bit words without a type of their own.
uint32_t loadWord(const uint8_t* from) {
    uint32_t word;
    __builtin_memcpy(&word, from, sizeof word);
    return word;
}

I32 all(int32_t value) {
    return _mm256_set1_epi32(value);
}

/// What positions of one coordinate are computed from, eight columns at a time.
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

void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    Line lineX(run.x);
    Line lineY(run.y);
    for (int i = 0; i < run.count; i += kLanes) {
        const I32 u = load(run.within + i);
        const I32 q = load(run.bulge + i);
        store(x + i, lineX.next(u, q));
        store(y + i, lineY.next(u, q));
    }
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

/// What a batch keeps of its pixels until their samples have arrived.
struct Batch {
    alignas(32) int32_t offset[kBatch];  // of the first tap, from the plane's start
    alignas(
        32) uint8_t samples[kBatch / kLanes][4][4 * kLanes];  // four rows of eight pixels, four bytes each
    I16 fractionX[kBatch / kGroup];
    I16 fractionY[kBatch / kGroup];
    I16 interior[kBatch / kGroup];
};

/// The four rows of eight pixels, where one window holds all their taps: pixels that follow each other from
/// left to right.
bool collectWindow(const uint8_t* plane, std::ptrdiff_t stride, std::ptrdiff_t lastWindow, I32 offsets,
                   uint8_t (&samples)[4][4 * kLanes]) {
    const std::ptrdiff_t first = _mm256_cvtsi256_si32(offsets);
    const I32 within = _mm256_sub_epi32(offsets, _mm256_broadcastd_epi32(_mm256_castsi256_si128(offsets)));
    const I32 reach = _mm256_min_epu32(within, _mm256_set1_epi32(kWindow - 4));
    if (_mm256_movemask_epi8(_mm256_cmpeq_epi32(reach, within)) != -1 || first > lastWindow) return false;
    const Bytes fourTimes =
        _mm256_set_epi32(0x0C0C0C0C, 0x08080808, 0x04040404, 0, 0x0C0C0C0C, 0x08080808, 0x04040404, 0);
    const Bytes taps = _mm256_add_epi8(_mm256_shuffle_epi8(within, fourTimes), _mm256_set1_epi32(0x03020100));
    for (int j = 0; j < 4; ++j) {
        const __m128i window = _mm_loadu_si128(reinterpret_cast<const __m128i*>(plane + first + j * stride));
        store(samples[j], _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(window), taps));
    }
    return true;
}

void collectEach(const uint8_t* plane, std::ptrdiff_t stride, const int32_t* offsets,
                 uint8_t (&samples)[4][4 * kLanes]) {
    for (int i = 0; i < kLanes; ++i) {
        const uint8_t* const first = plane + offsets[i];
        for (int j = 0; j < 4; ++j) {
            const uint32_t word = loadWord(first + j * stride);
            __builtin_memcpy(samples[j] + 4 * i, &word, sizeof word);
        }
    }
}

/// Finds one group's samples and fractions.
void locate(const WarpSource& src, const int32_t* x, const int32_t* y, int group, Batch& batch) {
    const Axis atX(load(x), load(x + kLanes));
    const Axis atY(load(y), load(y + kLanes));
    const I16 interior = _mm256_and_si256(atX.isInterior(src.width), atY.isInterior(src.height));
    // Pixels without all taps read the picture's corner.
    const I16 column = _mm256_and_si256(atX.index, interior);
    const I16 row = _mm256_and_si256(atY.index, interior);
    const I16 strides = _mm256_set1_epi32(src.width << 16 | 1);
    store(batch.offset + group * kGroup, _mm256_madd_epi16(_mm256_unpacklo_epi16(column, row), strides));
    store(batch.offset + group * kGroup + kLanes,
          _mm256_madd_epi16(_mm256_unpackhi_epi16(column, row), strides));
    batch.fractionX[group] = atX.fraction;
    batch.fractionY[group] = atY.fraction;
    batch.interior[group] = interior;
}

/// 2 x 2 centre taps of eight pixels: the bytes' least and greatest, in 32-bit lanes.
struct Bounds {
    I32 low;
    I32 high;

    explicit Bounds(const uint8_t (&samples)[4][4 * kLanes]) {
        const Bytes above = load(samples[1]);
        const Bytes below = load(samples[2]);
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
__m128i blend(const Batch& batch, int group) {
    const Weights weights(batch.fractionX[group], batch.fractionY[group]);
    const auto& left = batch.samples[2 * group];
    const auto& right = batch.samples[2 * group + 1];
    const I16 lowBytes = _mm256_set1_epi16(255);
    I32 sumLeft = _mm256_setzero_si256();
    I32 sumRight = _mm256_setzero_si256();
    I16 missing = _mm256_set1_epi16(256);  // what the weights lack, -5 to 5
    for (int j = 0; j < 4; ++j) {
        const Weights::Row w = weights.row(j);
        const auto add = [&](I32& sum, const uint8_t* samples, I16 even, I16 odd) {
            const Bytes bytes = load(samples);
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_and_si256(bytes, lowBytes), even));
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(_mm256_srli_epi16(bytes, 8), odd));
        };
        add(sumLeft, left[j], _mm256_unpacklo_epi16(w.w0, w.w2), _mm256_unpacklo_epi16(w.w1, w.w3));
        add(sumRight, right[j], _mm256_unpackhi_epi16(w.w0, w.w2), _mm256_unpackhi_epi16(w.w1, w.w3));
        missing = _mm256_sub_epi16(
            missing, _mm256_add_epi16(_mm256_add_epi16(w.w0, w.w1), _mm256_add_epi16(w.w2, w.w3)));
    }
    const I16 sign = _mm256_srai_epi16(missing, 15);
    const I32 valueLeft = finish(sumLeft, _mm256_unpacklo_epi16(missing, sign), Bounds(left));
    const I32 valueRight = finish(sumRight, _mm256_unpackhi_epi16(missing, sign), Bounds(right));
    const I16 values = _mm256_and_si256(_mm256_packs_epi32(valueLeft, valueRight), batch.interior[group]);
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

void collect(const WarpSource& src, Batch& batch, int groups) {
    const std::ptrdiff_t stride = src.width;
    const std::ptrdiff_t lastWindow = stride * (src.height - 3) - kWindow;
    for (int i = 0; i < 2 * groups; ++i) {
        const int32_t* const offsets = batch.offset + i * kLanes;
        if (!collectWindow(src.y, stride, lastWindow, load(offsets), batch.samples[i])) {
            collectEach(src.y, stride, offsets, batch.samples[i]);
        }
    }
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    Batch batch;
    int someOutside = 0;
    for (int first = 0; first < count; first += kBatch) {
        const int left = count - first < kBatch ? count - first : kBatch;
        const int groups = (left + kGroup - 1) / kGroup;
        for (int g = 0; g < groups; ++g) {
            locate(src, x + first + g * kGroup, y + first + g * kGroup, g, batch);
        }
        collect(src, batch, groups);
        for (int g = 0; g < groups; ++g) {
            const int interior = _mm256_movemask_epi8(batch.interior[g]);
            someOutside |= ~interior;
            const int at = first + g * kGroup;
            storeSome(out + at, interior == 0 ? _mm_setzero_si128() : blend(batch, g), count - at);
        }
    }
    return someOutside == 0;
}

/// The even ones of sixteen positions.
I32 evenLanes(const int32_t* from) {
    const __m256 pairs =
        _mm256_shuffle_ps(_mm256_castsi256_ps(load(from)), _mm256_castsi256_ps(load(from + kLanes)), 0x88);
    return _mm256_permute4x64_epi64(_mm256_castps_si256(pairs), 0xD8);
}

/// What a batch of chroma keeps of its pairs until their samples have arrived.
struct ChromaBatch {
    alignas(32) int32_t offset[kBatch];  // of the upper left pair, from the plane's start
    alignas(32) uint8_t samples[kBatch / kLanes][2][4 * kLanes];  // two rows: two pairs of each output pair
    I16 weights[kBatch / kLanes][2];  // of the left and the right pair, for both rows
    I32 interior[kBatch / kLanes];
};

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

/// Finds the samples and weights of eight pairs. Chroma samples lie two luma samples apart; the first lies
/// between luma samples 0 and 1.
void locateChroma(const WarpSource& src, const int32_t* x, const int32_t* y, int group, ChromaBatch& batch) {
    const I32 atX = evenLanes(x);
    const I32 atY = evenLanes(y);
    const I32 interior = _mm256_and_si256(hasAllTaps(atX, src.width), hasAllTaps(atY, src.height));
    const I32 quarter = _mm256_set1_epi32(128);
    const I32 fraction = _mm256_set1_epi32(511);
    const I32 whole = _mm256_set1_epi32(512);
    const I32 fromX = _mm256_sub_epi32(atX, quarter);
    const I32 fromY = _mm256_sub_epi32(atY, quarter);
    const I16 places = halves(_mm256_srai_epi32(fromX, 9), _mm256_srai_epi32(fromY, 9));
    store(batch.offset + group * kLanes,
          _mm256_madd_epi16(_mm256_and_si256(places, interior), _mm256_set1_epi32(src.width << 16 | 2)));
    const I32 right = _mm256_and_si256(fromX, fraction);
    const I32 upper = _mm256_sub_epi32(whole, _mm256_and_si256(fromY, fraction));
    const I16 across = halves(_mm256_sub_epi32(whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const I16 top =
        _mm256_mulhrs_epi16(_mm256_slli_epi16(across, 3), _mm256_slli_epi16(halves(upper, upper), 3));
    batch.weights[group][0] = top;
    batch.weights[group][1] = _mm256_sub_epi16(across, top);
    batch.interior[group] = interior;
}

void collectChroma(const WarpSource& src, ChromaBatch& batch, int groups) {
    for (int g = 0; g < groups; ++g) {
        const int32_t* const offsets = batch.offset + g * kLanes;
        for (int i = 0; i < kLanes; ++i) {
            const uint8_t* const first = src.uv + offsets[i];
            for (int j = 0; j < 2; ++j) {
                const uint32_t word = loadWord(first + std::ptrdiff_t{j} * src.width);
                __builtin_memcpy(batch.samples[g][j] + 4 * i, &word, sizeof word);
            }
        }
    }
}

/// Eight pairs.
__m128i blendChroma(const ChromaBatch& batch, int group) {
    const I16 lowBytes = _mm256_set1_epi16(255);
    I32 u = _mm256_set1_epi32(256);
    I32 v = u;
    for (int j = 0; j < 2; ++j) {
        const Bytes bytes = load(batch.samples[group][j]);
        const I16 weights = batch.weights[group][j];
        u = _mm256_add_epi32(u, _mm256_madd_epi16(_mm256_and_si256(bytes, lowBytes), weights));
        v = _mm256_add_epi32(v, _mm256_madd_epi16(_mm256_srli_epi16(bytes, 8), weights));
    }
    const I32 pairs = _mm256_or_si256(_mm256_srai_epi32(u, 9), _mm256_slli_epi32(_mm256_srai_epi32(v, 9), 8));
    const I32 chosen = _mm256_blendv_epi8(_mm256_set1_epi32(0x8080), pairs, batch.interior[group]);
    const I16 packed = _mm256_packus_epi32(chosen, chosen);
    return _mm_unpacklo_epi64(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1));
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    ChromaBatch batch;
    for (int first = 0; first < pairs; first += kBatch) {
        const int left = pairs - first < kBatch ? pairs - first : kBatch;
        const int groups = (left + kLanes - 1) / kLanes;
        for (int g = 0; g < groups; ++g) {
            const int at = 2 * (first + g * kLanes);
            locateChroma(src, x + at, y + at, g, batch);
        }
        collectChroma(src, batch, groups);
        for (int g = 0; g < groups; ++g) {
            const int at = first + g * kLanes;
            storeSome(out + 2 * at, blendChroma(batch, g), 2 * (pairs - at));
        }
    }
}

}  // namespace

const WarpKernels kWarpAvx2 = {InstructionSet::Avx2, positions, luma, chroma};

}  // namespace vantor

#endif
