#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include <algorithm>

#include "gdc_model/warp_lanes.h"
#include "processor/lanes_avx512.h"

namespace vantor {
namespace {

using V = Avx512Lanes;
using Vector = V::Vector;

/// Taps of sixteen pixels in windows of one length.
struct WindowConstants {
    Vector reach;  // of a window's first byte
    Vector bytes;  // of each lane: where its four bytes are from its first on
};

constexpr auto kLowestBytes = static_cast<int64_t>(0xFF0CFF08FF04FF00);

/// What all groups of pixels need.
struct Constants {
    LumaConstants<V> luma;
    ChromaConstants<V> chroma;
    Vector evens = kept(_mm512_setr_epi32(0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30));
    Vector endX;  // of positions less two samples whose taps lie inside
    Vector endY;
    Vector twoSamples = kept(V::broadcast32(384));  // from a position to the middle of its first tap
    // The lowest bytes of 32-bit lanes, in 16-bit lanes.
    Vector fractions = kept(V::repeat128(kLowestBytes, kLowestBytes));
    Vector lowHalf = kept(V::broadcast32(UINT16_MAX));
    Vector secondWindow = kept(V::broadcast32(V::kBytes / 2));
    Vector firstBytes = kept(V::repeat128(0x0404040400000000, 0x0C0C0C0C08080808));
    WindowConstants fourBytes{kept(V::broadcast32(32 - 4)), kept(V::broadcast32(0x03020100))};
    WindowConstants twoPlanes{kept(V::broadcast32(16 - 2)), kept(V::broadcast32(0x11011000))};
    // Of values in 16-bit lanes, in the order of V::pack16, the lower bytes.
    __m256i valueBytes = kept(_mm256_setr_epi32(0x06040200, 0x16141210, 0x26242220, 0x36343230, 0x0E0C0A08,
                                                0x1E1C1A18, 0x2E2C2A28, 0x3E3C3A38));

    explicit Constants(const WarpSource& src)
        : endX(kept(V::broadcast32((src.width - 3) * 256))),
          endY(kept(V::broadcast32((src.height - 3) * 256))) {}

    /// Lanes where luma has all its taps, index 2 to size - 2, from positions less two samples.
    __mmask16 hasAllTaps(Vector firstX, Vector firstY) const {
        return _mm512_mask_cmplt_epu32_mask(_mm512_cmplt_epu32_mask(firstX, endX), firstY, endY);
    }

    /// Upper halves of `rows` and lower ones of `columns`; 0 outside `chosen`.
    Vector places(__mmask16 chosen, Vector columns, Vector rows) const {
        constexpr int kSelect = 0xCA;  // the second where the first is set, else the third
        return _mm512_maskz_ternarylogic_epi32(chosen, lowHalf, columns, rows, kSelect);
    }
};

/// The windows that may hold the taps of sixteen pixels: where pixels follow each other from left to right in
/// one row or two, one window at the first and one at the last. Both stay inside their rows.
template <int window, int taps>
class Windows {
public:
    /// From places in a plane (row x 65536 + byte of the row).
    Windows(const Constants& constants, const WindowConstants& kind, Vector places, int rowBytes) {
        const int first = _mm512_cvtsi512_si32(places);
        const int last = _mm512_cvtsi512_si32(_mm512_alignr_epi32(places, places, V::kLanes32 - 1));
        starts_[0] = first - std::max((first & UINT16_MAX) - (rowBytes - window), 0);
        starts_[1] = last - std::min(last & UINT16_MAX, window - taps);
        const Vector fromFirst = V::subtract32(places, V::broadcast32(starts_[0]));
        const Vector fromLast = V::subtract32(places, V::broadcast32(starts_[1]));
        const __mmask16 byLast = _mm512_cmple_epu32_mask(fromLast, kind.reach);
        holdAll_ = _mm512_kortestc(_mm512_cmple_epu32_mask(fromFirst, kind.reach), byLast) != 0;
        const Vector index = _mm512_mask_add_epi32(fromFirst, byLast, fromLast, constants.secondWindow);
        bytes_ = _mm512_add_epi8(V::shuffle8(index, constants.firstBytes), kind.bytes);
    }

    bool holdAll() const { return holdAll_; }

    /// The byte of `plane` that the first (second) window begins with.
    const uint8_t* start(const uint8_t* plane, std::ptrdiff_t stride, int i) const {
        return plane + (starts_[i] >> 16) * stride + (starts_[i] & UINT16_MAX);
    }

    /// For a permutation of both windows, one in each half of a vector: the bytes of every pixel's taps.
    Vector bytes() const { return bytes_; }

private:
    int starts_[2];
    bool holdAll_;
    Vector bytes_;
};

Vector joined(const uint8_t* low, const uint8_t* high) {
    const auto load = [](const uint8_t* from) {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    };
    return _mm512_inserti64x4(_mm512_castsi256_si512(load(low)), load(high), 1);
}

constexpr int kRowsAhead = 3;  ///< of the last row of taps

/// Asks for what output rows below will read, or for nothing where that is beyond the plane.
void prefetch(const uint8_t* from, std::ptrdiff_t distance) {
    const auto address = reinterpret_cast<std::uintptr_t>(from) + static_cast<std::uintptr_t>(distance);
    _mm_prefetch(reinterpret_cast<const char*>(address), _MM_HINT_T0);
}

/// Four bytes of each of some rows, from places in the first of them.
template <int rows>
__attribute__((always_inline)) inline Samples<V, rows> samplesAt(const Constants& constants,
                                                                 const uint8_t* plane, std::ptrdiff_t stride,
                                                                 int rowBytes, Vector places) {
    const Windows<32, 4> windows(constants, constants.fourBytes, places, rowBytes);
    if (!windows.holdAll()) return gather<V, rows>(plane, stride, places);
    const uint8_t* low = windows.start(plane, stride, 0);
    const uint8_t* high = windows.start(plane, stride, 1);
    prefetch(low, (rows + kRowsAhead) * stride);
    const Vector bytes = windows.bytes();
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
Samples<V, 2> pairsAt(const WarpSource& src, const Constants& constants, Vector places) {
    const Windows<16, 2> windows(constants, constants.twoPlanes, places, src.width / 2);
    if (!windows.holdAll()) return gatherPairs<V>(src, places);
    const Vector bytes = windows.bytes();
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

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    __mmask16 interior;
    Vector firstX;  // of their first taps' middles
    Vector firstY;
    Vector places;  // of their first taps: row x 65536 + column; 0 where not all taps lie inside

    Pixels(const Constants& constants, const int32_t* x, const int32_t* y) {
        firstX = V::subtract32(V::load(x), constants.twoSamples);
        firstY = V::subtract32(V::load(y), constants.twoSamples);
        interior = constants.hasAllTaps(firstX, firstY);
        places = constants.places(interior, V::shiftRightSigned32<8>(firstX), V::shiftLeft32<8>(firstY));
    }
};

/// 32 bytes of luma; 0 where not all taps lie inside.
__m256i blend(const WarpSource& src, const Constants& constants, const Pixels& left, const Pixels& right,
              __mmask32 interior) {
    const Weights<V> weights(constants.luma,
                             V::shuffleHalves8(left.firstX, right.firstX, constants.fractions),
                             V::shuffleHalves8(left.firstY, right.firstY, constants.fractions));
    const Vector values =
        filterLuma<V>(constants.luma, samplesAt<4>(constants, src.y, src.yStride, src.width, left.places),
                      samplesAt<4>(constants, src.y, src.yStride, src.width, right.places), weights);
    return _mm512_castsi512_si256(
        _mm512_maskz_permutexvar_epi8(interior, _mm512_castsi256_si512(constants.valueBytes), values));
}

uint32_t luma(const WarpSource& source, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    constexpr __mmask32 kAll = ~__mmask32{0};
    const WarpSource src = source;  // which `out` does not alias
    const Constants constants(src);
    uint32_t incomplete = 0;
    for (int i = 0; i < count; i += kWarpLanes) {
        const Pixels left(constants, x + i, y + i);
        const Pixels right(constants, x + i + V::kLanes32, y + i + V::kLanes32);
        const __mmask32 interior = _mm512_kunpackw(right.interior, left.interior);
        incomplete |= uint32_t{interior != kAll} << (i / kWarpLanes);
        const __m256i bytes =
            interior == 0 ? _mm256_setzero_si256() : blend(src, constants, left, right, interior);
        const __mmask32 stored = count - i >= kWarpLanes ? kAll : (__mmask32{1} << (count - i)) - 1;
        _mm256_mask_storeu_epi8(out + i, stored, bytes);
    }
    return incomplete;
}

/// Sixteen pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
void chromaGroup(const WarpSource& src, const Constants& constants, const int32_t* x, const int32_t* y,
                 int count, uint8_t* out) {
    const auto evenLanes = [&](const int32_t* from) {
        return _mm512_permutex2var_epi32(V::load(from), constants.evens, V::load(from + V::kLanes32));
    };
    const Vector atX = evenLanes(x);
    const Vector atY = evenLanes(y);
    const __mmask16 interior = constants.hasAllTaps(V::subtract32(atX, constants.twoSamples),
                                                    V::subtract32(atY, constants.twoSamples));
    const Vector fromX = V::subtract32(atX, constants.chroma.halfSample);
    const Vector fromY = V::subtract32(atY, constants.chroma.halfSample);
    const bool isPaired = src.chromaStep == 2;
    const Vector column = V::shiftRightSigned32<9>(fromX);
    const Vector places =
        constants.places(interior, isPaired ? V::add32(column, column) : column, V::shiftLeft32<7>(fromY));
    const Samples<V, 2> samples = isPaired ? samplesAt<2>(constants, src.u, src.uStride, src.width, places)
                                           : pairsAt(src, constants, places);
    const Vector pairs = mixPairs<V>(constants.chroma, samples, fromX, fromY);
    const Vector chosen = _mm512_mask_mov_epi32(constants.chroma.neutral, interior, pairs);
    const auto stored = static_cast<__mmask16>(count >= V::kLanes32 ? 0xFFFF : (1 << count) - 1);
    _mm512_mask_cvtepi32_storeu_epi16(out, stored, chosen);
}

void chroma(const WarpSource& source, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    const WarpSource src = source;
    const Constants constants(src);
    for (int i = 0; i < pairs; i += V::kLanes32)
        chromaGroup(src, constants, x + 2 * i, y + 2 * i, pairs - i, out + 2 * i);
}

}  // namespace

const WarpKernels kWarpAvx512 = {InstructionSet::Avx512, nodes<V>, positions<V>,
                                 rowPositions<V>,        luma,     chroma};

}  // namespace vantor

#endif
