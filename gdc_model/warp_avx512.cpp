#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include <algorithm>

#include "gdc_model/warp_x86.h"
#include "processor/lanes_avx512.h"

namespace vantor {
namespace {

using V = Avx512Lanes;
using Vector = V::Vector;

/// Lanes where luma has all its taps along one axis: index 2 to size - 2.
__mmask16 hasAllTaps(Vector position, int size) {
    return _mm512_cmplt_epu32_mask(V::subtract32(position, V::broadcast32(384)),
                                   V::broadcast32((size - 3) * 256));
}

/// The windows that may hold the taps of sixteen pixels: where pixels follow each other from left to right in
/// one row or two, one window at the first and one at the last. Both stay inside their rows.
template <int window, int taps>
class Windows {
public:
    /// From places in a plane (row x 65536 + byte of the row).
    Windows(Vector places, int rowBytes) {
        alignas(Vector) int32_t at[V::kLanes32];
        V::store(at, places);
        const int first = at[0];
        const int last = at[V::kLanes32 - 1];
        starts_[0] = first - std::max((first & UINT16_MAX) - (rowBytes - window), 0);
        starts_[1] = last - std::min(last & UINT16_MAX, window - taps);
        const Vector fromFirst = V::subtract32(places, V::broadcast32(starts_[0]));
        const Vector fromLast = V::subtract32(places, V::broadcast32(starts_[1]));
        const Vector reach = V::broadcast32(window - taps);
        const __mmask16 byFirst = _mm512_cmple_epu32_mask(fromFirst, reach);
        holdAll_ = (byFirst | _mm512_cmple_epu32_mask(fromLast, reach)) == 0xFFFF;
        index_ = _mm512_mask_mov_epi32(V::add32(fromLast, V::broadcast32(V::kBytes / 2)), byFirst, fromFirst);
    }

    bool holdAll() const { return holdAll_; }

    /// The byte of `plane` that the first (second) window begins with.
    const uint8_t* start(const uint8_t* plane, std::ptrdiff_t stride, int i) const {
        return plane + (starts_[i] >> 16) * stride + (starts_[i] & UINT16_MAX);
    }

    /// For a permutation of both windows, one in each half of a vector: the bytes of every pixel's taps, from
    /// their distances to the first.
    Vector bytes(int distances) const {
        const Vector fourTimes = V::repeat128(_mm_setr_epi32(0, 0x04040404, 0x08080808, 0x0C0C0C0C));
        return _mm512_add_epi8(V::shuffle8(index_, fourTimes), V::broadcast32(distances));
    }

private:
    int starts_[2];
    bool holdAll_;
    Vector index_;
};

Vector joined(const uint8_t* low, const uint8_t* high) {
    const auto load = [](const uint8_t* from) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    };
    return _mm512_inserti64x4(_mm512_castsi256_si512(load(low)), load(high), 1);
}

/// Four bytes of each of some rows, from places in the first of them.
template <int rows>
Samples<V, rows> samplesAt(const uint8_t* plane, std::ptrdiff_t stride, int rowBytes, Vector places) {
    const Windows<32, 4> windows(places, rowBytes);
    if (!windows.holdAll()) return gather<V, rows>(plane, stride, places);
    const uint8_t* low = windows.start(plane, stride, 0);
    const uint8_t* high = windows.start(plane, stride, 1);
    const Vector bytes = windows.bytes(0x03020100);
    Samples<V, rows> samples;
    for (Vector& row : samples.row) {
        row = _mm512_permutexvar_epi8(bytes, joined(low, high));
        low += stride;
        high += stride;
    }
    return samples;
}

/// The bytes of both planes' windows, U's before V's.
__m256i joinedPlanes(const uint8_t* u, const uint8_t* v) {
    const auto load = [](const uint8_t* from) {
        return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
    };
    return _mm256_inserti128_si256(_mm256_castsi128_si256(load(u)), load(v), 1);
}

/// Pairs of chroma from two planes.
Samples<V, 2> pairsAt(const WarpSource& src, Vector places) {
    const Windows<16, 2> windows(places, src.width / 2);
    if (!windows.holdAll()) return gatherPairs<V>(src, places);
    const Vector bytes = windows.bytes(0x11011000);
    Samples<V, 2> pairs;
    for (int j = 0; j < 2; ++j) {
        const auto load = [&](int i) {
            return joinedPlanes(windows.start(src.u, src.uStride, i) + j * src.uStride,
                                windows.start(src.v, src.vStride, i) + j * src.vStride);
        };
        pairs.row[j] =
            _mm512_permutexvar_epi8(bytes, _mm512_inserti64x4(_mm512_castsi256_si512(load(0)), load(1), 1));
    }
    return pairs;
}

/// Upper halves of `rows` and lower ones of `columns`; 0 outside `chosen`.
Vector placesOf(__mmask16 chosen, Vector columns, Vector rows) {
    constexpr int kSelect = 0xCA;  // the second where the first is set, else the third
    return _mm512_maskz_mov_epi32(
        chosen, _mm512_ternarylogic_epi32(V::broadcast32(UINT16_MAX), columns, rows, kSelect));
}

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    __mmask16 interior;
    Vector fractionX;
    Vector fractionY;
    Vector places;  // of their first taps: row x 65536 + column; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const Vector atX = V::load(x);
        const Vector atY = V::load(y);
        interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
        // Shifted by two samples, so that the index is that of the first tap.
        const Vector firstX = V::subtract32(atX, V::broadcast32(384));
        const Vector firstY = V::subtract32(atY, V::broadcast32(384));
        fractionX = V::bitAnd(firstX, V::broadcast32(255));
        fractionY = V::bitAnd(firstY, V::broadcast32(255));
        places = placesOf(interior, V::shiftRightSigned32<8>(firstX), V::shiftLeft32<8>(firstY));
    }
};

/// The first `count` bytes; those outside `chosen` are 0.
void storeSome(uint8_t* out, __m128i bytes, __mmask16 chosen, int count) {
    const auto stored = static_cast<__mmask16>(count >= V::kLanes32 ? 0xFFFF : (1 << count) - 1);
    _mm_mask_storeu_epi8(out, stored, _mm_maskz_mov_epi8(chosen, bytes));
}

/// 32 pixels.
void blend(const WarpSource& src, const Pixels& left, const Pixels& right, uint8_t* out, int count) {
    const LumaValues<V> values = filterLuma<V>(samplesAt<4>(src.y, src.yStride, src.width, left.places),
                                               samplesAt<4>(src.y, src.yStride, src.width, right.places),
                                               {_mm512_packus_epi32(left.fractionX, right.fractionX),
                                                _mm512_packus_epi32(left.fractionY, right.fractionY)});
    storeSome(out, _mm512_cvtepi32_epi8(values.left), left.interior, count);
    if (count <= V::kLanes32) return;
    storeSome(out + V::kLanes32, _mm512_cvtepi32_epi8(values.right), right.interior, count - V::kLanes32);
}

bool luma(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    unsigned someOutside = 0;
    for (int i = 0; i < count; i += 2 * V::kLanes32) {
        const Pixels left(src, x + i, y + i);
        const Pixels right(src, x + i + V::kLanes32, y + i + V::kLanes32);
        someOutside |= 0xFFFFU & ~static_cast<unsigned>(left.interior & right.interior);
        if ((left.interior | right.interior) == 0) {
            const __m128i zero = _mm_setzero_si128();
            storeSome(out + i, zero, 0, count - i);
            if (count - i > V::kLanes32) storeSome(out + i + V::kLanes32, zero, 0, count - i - V::kLanes32);
        } else {
            blend(src, left, right, out + i, count - i);
        }
    }
    return someOutside == 0;
}

/// The even ones of 32 positions.
Vector evenLanes(const int32_t* from) {
    const Vector evens = _mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
    return _mm512_permutex2var_epi32(V::load(from), evens, V::load(from + V::kLanes32));
}

/// Sixteen pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
void chromaGroup(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const Vector atX = evenLanes(x);
    const Vector atY = evenLanes(y);
    const __mmask16 interior = hasAllTaps(atX, src.width) & hasAllTaps(atY, src.height);
    const Vector fromX = V::subtract32(atX, V::broadcast32(128));
    const Vector fromY = V::subtract32(atY, V::broadcast32(128));
    const bool isPaired = src.chromaStep == 2;
    const Vector column = V::shiftRightSigned32<9>(fromX);
    const Vector places =
        placesOf(interior, isPaired ? V::add32(column, column) : column, V::shiftLeft32<7>(fromY));
    const Samples<V, 2> samples =
        isPaired ? samplesAt<2>(src.u, src.uStride, src.width, places) : pairsAt(src, places);
    const Vector pairs = mixPairs<V>(samples, fromX, fromY);
    const Vector chosen = _mm512_mask_mov_epi32(V::broadcast32(0x8080), interior, pairs);
    const auto stored = static_cast<__mmask16>(count >= V::kLanes32 ? 0xFFFF : (1 << count) - 1);
    _mm512_mask_cvtepi32_storeu_epi16(out, stored, chosen);
}

void chroma(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    for (int i = 0; i < pairs; i += V::kLanes32)
        chromaGroup(src, x + 2 * i, y + 2 * i, pairs - i, out + 2 * i);
}

}  // namespace

const WarpKernels kWarpAvx512 = {InstructionSet::Avx512, positions<V>, luma, chroma};

}  // namespace vantor

#endif
