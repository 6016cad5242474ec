// The stages of a warp where comparisons of lanes give lanes of ones, as AVX2's and WebAssembly's do.
#pragma once

#include "gdc_model/warp_lanes.h"

namespace vantor {
namespace {

/// Two vectors of positions along one axis, in the order of V::pack32: interleaving gives 32-bit lanes in
/// natural order.
template <typename V>
struct Axis {
    using Vector = typename V::Vector;
    Vector index;     // of the first tap; saturated, beyond any picture
    Vector fraction;  // 0 to 255

    explicit Axis(const int32_t* positions) {
        const Vector half = V::broadcast32(128);
        const Vector byte = V::broadcast32(255);
        const Vector first = V::add32(V::load(positions), half);
        const Vector second = V::add32(V::load(positions + V::kLanes32), half);
        index = V::subtractSaturated16(
            V::pack32(V::template shiftRightSigned32<8>(first), V::template shiftRightSigned32<8>(second)),
            V::broadcast16(2));
        fraction = V::packUnsigned32(V::bitAnd(first, byte), V::bitAnd(second, byte));
    }

    /// Lanes whose four taps lie inside `size` samples, in order.
    Vector isInterior(int size) const { return V::isAtMost16(index, V::broadcast16(size - 4)); }
};

/// A group of pixels, and what of their positions is needed later.
template <typename V>
struct Pixels {
    using Vector = typename V::Vector;
    Vector interior;
    Vector fractionX;
    Vector fractionY;
    Vector places[2];  // of the first taps: row x 65536 + column; 0 where not all taps lie inside

    Pixels(const WarpSource& src, const int32_t* x, const int32_t* y) {
        const Axis<V> atX(x);
        const Axis<V> atY(y);
        interior = V::bitAnd(atX.isInterior(src.width), atY.isInterior(src.height));
        fractionX = atX.fraction;
        fractionY = atY.fraction;
        const Vector column = V::bitAnd(atX.index, interior);
        const Vector row = V::bitAnd(atY.index, interior);
        places[0] = V::interleaveLow16(column, row);
        places[1] = V::interleaveHigh16(column, row);
    }
};

/// Luma in 16-bit lanes.
template <typename V>
typename V::Vector blend(const WarpSource& src, const LumaConstants<V>& constants, const Pixels<V>& pixels) {
    const auto values = filterLuma<V>(constants, gather<V, 4>(src.y, src.yStride, pixels.places[0]),
                                      gather<V, 4>(src.y, src.yStride, pixels.places[1]),
                                      {constants, pixels.fractionX, pixels.fractionY});
    return V::bitAnd(values, pixels.interior);
}

/// All of the bytes that `store` writes, or the first `count`.
template <typename V, typename Store>
void storeSome(uint8_t* out, int count, const Store& store) {
    if (count >= V::kLanes16) {
        store(out);
        return;
    }
    uint8_t values[V::kLanes16];
    store(values);
    __builtin_memcpy(out, values, static_cast<std::size_t>(count));
}

template <typename V>
uint32_t luma(const WarpSource& source, const int32_t* x, const int32_t* y, int count, uint8_t* out) {
    const WarpSource src = source;  // which `out` does not alias
    const LumaConstants<V> constants;
    uint32_t incomplete = 0;
    for (int i = 0; i < count; i += V::kLanes16) {
        const Pixels<V> pixels(src, x + i, y + i);
        incomplete |= uint32_t{!V::areAllSet(pixels.interior)} << (i / kWarpLanes);
        const auto values = V::isAnySet(pixels.interior) ? blend(src, constants, pixels) : V::broadcast16(0);
        storeSome<V>(out + i, count - i, [&](uint8_t* to) { V::storePacked16(to, values); });
    }
    return incomplete;
}

/// The even ones of two vectors of positions.
template <typename V>
typename V::Vector evenPositions(const int32_t* from) {
    return V::evenLanes32(V::load(from), V::load(from + V::kLanes32));
}

/// Whether luma has all its taps at a position: index 2 to size - 2.
template <typename V>
typename V::Vector hasAllTaps(typename V::Vector position, int size) {
    return V::isAtMost32(V::subtract32(position, V::broadcast32(384)), V::broadcast32((size - 3) * 256 - 1));
}

/// Pairs in 32-bit lanes. Chroma samples lie two luma samples apart; the first lies between luma samples 0
/// and 1.
template <typename V>
typename V::Vector chromaGroup(const WarpSource& src, const ChromaConstants<V>& constants, const int32_t* x,
                               const int32_t* y) {
    using Vector = typename V::Vector;
    const Vector atX = evenPositions<V>(x);
    const Vector atY = evenPositions<V>(y);
    const Vector interior = V::bitAnd(hasAllTaps<V>(atX, src.width), hasAllTaps<V>(atY, src.height));
    const Vector fromX = V::subtract32(atX, constants.halfSample);
    const Vector fromY = V::subtract32(atY, constants.halfSample);
    const Vector column = V::template shiftRightSigned32<9>(fromX);
    const bool isPaired = src.chromaStep == 2;
    const Vector byte = isPaired ? V::add32(column, column) : column;
    const Vector places =
        V::bitAnd(V::interleaveEven16(byte, V::template shiftRightSigned32<9>(fromY)), interior);
    const Vector pairs = mixPairs<V>(
        constants, isPaired ? gather<V, 2>(src.u, src.uStride, places) : gatherPairs<V>(src, places), fromX,
        fromY);
    return V::select(interior, pairs, constants.neutral);
}

template <typename V>
void chroma(const WarpSource& source, const int32_t* x, const int32_t* y, int pairs, uint8_t* out) {
    const WarpSource src = source;
    const ChromaConstants<V> constants;
    for (int i = 0; i < pairs; i += V::kLanes32) {
        const auto values = chromaGroup(src, constants, x + 2 * i, y + 2 * i);
        storeSome<V>(out + 2 * i, 2 * (pairs - i), [&](uint8_t* to) { V::storePacked32(to, values); });
    }
}

}  // namespace
}  // namespace vantor
