#include "gdc_model/warp_kernels.h"

#if defined(__x86_64__)

#include "gdc_model/warp_x86.h"
#include "processor/lanes_avx2.h"

namespace vantor {
namespace {

using V = Avx2Lanes;
using Vector = V::Vector;

constexpr int kGroup = 16;  // pixels whose weights are worked out together

/// Sixteen positions along one axis. Packing leaves 16-bit lanes in the order 0-3, 8-11, 4-7, 12-15, so that
/// unpacking gives 32-bit lanes in natural order: pixels 0-7, then 8-15.
struct Axis {
    Vector index;     // of the first tap; saturated, beyond any picture
    Vector fraction;  // 0 to 255

    Axis(Vector first, Vector second) {
        const Vector half = V::broadcast32(128);
        const Vector byte = V::broadcast32(255);
        first = V::add32(first, half);
        second = V::add32(second, half);
        index = _mm256_subs_epi16(
            V::pack32(V::shiftRightSigned32<8>(first), V::shiftRightSigned32<8>(second)), V::broadcast16(2));
        fraction = V::packUnsigned32(V::bitAnd(first, byte), V::bitAnd(second, byte));
    }

    /// Lanes whose four taps lie inside `size` samples, in order.
    Vector isInterior(int size) const {
        const Vector last = V::broadcast16(static_cast<int16_t>(size - 4));
        return _mm256_cmpeq_epi16(_mm256_min_epu16(index, last), index);
    }
};

/// Sixteen pixels, and what of their positions is needed later.
struct Pixels {
    Vector interior;
    Vector fractionX;
    Vector fractionY;
    Vector places[2];  // of the first taps: row x 65536 + column; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const Axis atX(V::load(x), V::load(x + V::kLanes32));
        const Axis atY(V::load(y), V::load(y + V::kLanes32));
        interior = V::bitAnd(atX.isInterior(src.width), atY.isInterior(src.height));
        fractionX = atX.fraction;
        fractionY = atY.fraction;
        const Vector column = V::bitAnd(atX.index, interior);
        const Vector row = V::bitAnd(atY.index, interior);
        places[0] = V::interleaveLow16(column, row);
        places[1] = V::interleaveHigh16(column, row);
    }
};

/// Sixteen bytes of luma.
__m128i blend(const WarpSource& src, const LumaConstants<V>& constants, const Pixels& pixels) {
    const Vector values = filterLuma<V>(constants, gather<V, 4>(src.y, src.yStride, pixels.places[0]),
                                        gather<V, 4>(src.y, src.yStride, pixels.places[1]),
                                        {constants, pixels.fractionX, pixels.fractionY});
    const Vector words = V::bitAnd(values, pixels.interior);
    const Vector packed = V::pack16(words, words);  // 0-3, 8-11 in one half, 4-7, 12-15 in the other
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

uint32_t luma(const WarpSource& source, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const WarpSource src = source;  // which `out` does not alias
    const LumaConstants<V> constants;
    uint32_t incomplete = 0;
    for (int i = 0; i < count; i += kGroup) {
        const Pixels pixels(src, x + i, y + i);
        const int interior = _mm256_movemask_epi8(pixels.interior);
        incomplete |= uint32_t{interior != -1} << (i / kWarpLanes);
        storeSome(out + i, interior == 0 ? _mm_setzero_si128() : blend(src, constants, pixels), count - i);
    }
    return incomplete;
}

/// The even ones of sixteen positions.
Vector evenLanes(const int32_t* from) {
    const __m256 pairs = _mm256_shuffle_ps(_mm256_castsi256_ps(V::load(from)),
                                           _mm256_castsi256_ps(V::load(from + V::kLanes32)), 0x88);
    return _mm256_permute4x64_epi64(_mm256_castps_si256(pairs), 0xD8);
}

/// Whether luma has all its taps at a position: index 2 to size - 2.
Vector hasAllTaps(Vector position, int size) {
    const Vector last = V::broadcast32((size - 3) * 256 - 1);
    const Vector from = V::subtract32(position, V::broadcast32(384));
    return _mm256_cmpeq_epi32(_mm256_min_epu32(from, last), from);
}

/// Eight pairs. Chroma samples lie two luma samples apart; the first lies between luma samples 0 and 1.
__m128i chromaGroup(const WarpSource& src, const ChromaConstants<V>& constants, const int32_t* x,
                    const int32_t* y) {
    const Vector atX = evenLanes(x);
    const Vector atY = evenLanes(y);
    const Vector interior = V::bitAnd(hasAllTaps(atX, src.width), hasAllTaps(atY, src.height));
    const Vector fromX = V::subtract32(atX, constants.halfSample);
    const Vector fromY = V::subtract32(atY, constants.halfSample);
    const Vector column = V::shiftRightSigned32<9>(fromX);
    const bool isPaired = src.chromaStep == 2;
    const Vector byte = isPaired ? V::add32(column, column) : column;
    const Vector places = V::bitAnd(V::interleaveEven16(byte, V::shiftRightSigned32<9>(fromY)), interior);
    const Vector pairs = mixPairs<V>(
        constants, isPaired ? gather<V, 2>(src.u, src.uStride, places) : gatherPairs<V>(src, places), fromX,
        fromY);
    const Vector chosen = _mm256_blendv_epi8(constants.neutral, pairs, interior);
    const Vector packed = _mm256_packus_epi32(chosen, chosen);
    return _mm_unpacklo_epi64(_mm256_castsi256_si128(packed), _mm256_extracti128_si256(packed, 1));
}

void chroma(const WarpSource& source, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    const WarpSource src = source;
    const ChromaConstants<V> constants;
    for (int i = 0; i < pairs; i += V::kLanes32) {
        storeSome(out + 2 * i, chromaGroup(src, constants, x + 2 * i, y + 2 * i), 2 * (pairs - i));
    }
}

}  // namespace

const WarpKernels kWarpAvx2 = {InstructionSet::Avx2, nodes<V>, positions<V>,
                               narrowPositions<V>,   luma,     chroma};

}  // namespace vantor

#endif
