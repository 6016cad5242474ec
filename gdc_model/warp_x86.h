// The arithmetic of the warp in 32-bit and 16-bit lanes, one source for both vector types.
#pragma once

#include <immintrin.h>

#include "gdc_model/warp_kernels.h"

namespace vantor {
namespace {

/// What positions of one coordinate are computed from, a vector of columns at a time.
template <typename V, bool isShort>
class LineOfLanes {
public:
    using Vector = typename V::Vector;

    explicit LineOfLanes(const WarpLine& line)
        : excessAtStart_(
              V::add32(V::template shiftLeft32<9>(V::broadcast32(line.excess)), V::broadcast32(256))),
          excessStep_(V::template shiftLeft32<1>(V::broadcast32(line.excess))),
          start_(V::broadcast32(line.start)),
          difference_(V::broadcast32(line.difference)),
          slopeChange_(V::broadcast32(line.slopeChange)),
          invScale_(V::broadcast32(line.invScale)),
          invScaleAndOne_(V::broadcast32(line.invScale | 1 << 16)),
          base_(V::add32(V::broadcast32(line.base), V::multiply32(V::iota32(), V::broadcast32(line.step)))),
          step_(V::multiply32(V::broadcast32(line.step), V::broadcast32(V::kLanes32))) {}

    Vector next(Vector u, Vector q) {
        // Both terms wrap, but their difference, excess (512 - 2u) + 256, fits.
        const Vector ex =
            V::template shiftRightSigned32<9>(V::subtract32(excessAtStart_, V::multiply32(u, excessStep_)));
        const Vector bulge = rounded<11>(V::multiply32(V::add32(ex, slopeChange_), q));
        const Vector linear = rounded<9>(V::multiply32(u, difference_));
        const Vector position =
            V::add32(base_, sourceDisplacement(V::subtract32(V::add32(start_, linear), bulge)));
        base_ = V::add32(base_, step_);
        return position;
    }

private:
    template <int Bits>
    static Vector rounded(Vector a) {
        return V::template shiftRightSigned32<Bits>(V::add32(a, V::broadcast32(1 << (Bits - 1))));
    }

    /// 24 bits by 15: the upper 16 bits of d apart from its lower eight, to which the rounding is added.
    Vector sourceDisplacement(Vector d) const {
        if (isShort) return rounded<13>(V::multiply32(d, invScale_));
        const Vector upper = V::multiplyAdd16(V::template shiftRightSigned32<8>(d), invScale_);
        const Vector lower = V::bitOr(V::bitAnd(d, V::broadcast32(255)), V::broadcast32(4096 << 16));
        const Vector carried = V::template shiftRightSigned32<8>(V::multiplyAdd16(lower, invScaleAndOne_));
        return V::template shiftRightSigned32<5>(V::add32(upper, carried));
    }

    Vector excessAtStart_;
    Vector excessStep_;
    Vector start_;
    Vector difference_;
    Vector slopeChange_;
    Vector invScale_;
    Vector invScaleAndOne_;
    Vector base_;
    Vector step_;
};

template <typename V, bool isShort>
void locate(const WarpRun& run, int32_t* x, int32_t* y) {
    LineOfLanes<V, isShort> lineX(run.x);
    LineOfLanes<V, isShort> lineY(run.y);
    for (int i = 0; i < run.count; i += V::kLanes32) {
        const auto u = V::load(run.within + i);
        const auto q = V::load(run.bulge + i);
        V::store(x + i, lineX.next(u, q));
        V::store(y + i, lineY.next(u, q));
    }
}

template <typename V>
void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    const auto locateAll = run.isShort ? locate<V, true> : locate<V, false>;
    locateAll(run, x, y);
}

/// The magnitudes of the four taps' weights at phases p: of p (256 - p)^2, 2^25 - p^2 (1280 - 3p), p 2^16 +
/// p^2 (1024 - 3p) and p^2 (256 - p), over 2^17, rounded. (x / 2^16 rounded down, plus 1) / 2 is that.
template <typename V>
struct Taps {
    using Vector = typename V::Vector;
    Vector outer0;
    Vector centre1;
    Vector centre2;
    Vector outer3;

    explicit Taps(Vector p) {
        const Vector zero = V::broadcast16(0);
        const Vector whole = V::broadcast16(256);
        const Vector q = V::subtract16(whole, p);
        const Vector pq = V::multiply16(p, q);
        const Vector pp = V::multiply16(p, p);
        const Vector slope = V::subtract16(V::broadcast16(1280), V::add16(V::add16(p, p), p));
        outer0 = V::average16(V::multiplyHighUnsigned16(pq, q), zero);
        outer3 = V::average16(V::multiplyHighUnsigned16(pq, p), zero);
        centre1 = V::subtract16(whole, V::average16(V::multiplyHighUnsigned16(pp, slope), zero));
        centre2 = V::average16(V::multiplyHighUnsigned16(pp, V::subtract16(slope, whole)), p);
    }
};

/// The sixteen weights of a pixel: (128 x product + 2^14) >> 15 rounds ties up. Where one factor is an
/// outer tap (never positive) and the other a centre tap (never negative), ties must go down: the centre
/// tap is enlarged by 1/64, which changes the product by less than its distance from any other tie.
template <typename V>
class Weights {
public:
    using Vector = typename V::Vector;

    Weights(Vector fractionX, Vector fractionY) : y_(fractionY) {
        const Taps<V> x(fractionX);
        outer0_ = minusTwice(x.outer0);
        outer3_ = minusTwice(x.outer3);
        centre1_ = V::template shiftLeft16<6>(x.centre1);
        centre2_ = V::template shiftLeft16<6>(x.centre2);
    }

    /// The weights of one row's four taps.
    struct Row {
        Vector w0;
        Vector w1;
        Vector w2;
        Vector w3;
    };

    Row row(int j) const {
        if (j == 0) return outerRow(minusTwice(y_.outer0));
        if (j == 1) return centreRow(y_.centre1);
        if (j == 2) return centreRow(y_.centre2);
        return outerRow(minusTwice(y_.outer3));
    }

private:
    static Vector minusTwice(Vector tap) { return V::subtract16(V::broadcast16(0), V::add16(tap, tap)); }
    static Vector enlarged(Vector tap64) { return V::bitOr(tap64, V::broadcast16(1)); }

    Row outerRow(Vector y) const {
        const Vector y32 = V::template shiftLeft16<5>(y);
        return {V::multiplyRounded16(outer0_, y32), V::multiplyRounded16(enlarged(centre1_), y),
                V::multiplyRounded16(enlarged(centre2_), y), V::multiplyRounded16(outer3_, y32)};
    }
    Row centreRow(Vector y) const {
        const Vector y2 = V::add16(y, y);
        const Vector y64 = enlarged(V::template shiftLeft16<6>(y));
        return {V::multiplyRounded16(outer0_, y64), V::multiplyRounded16(centre1_, y2),
                V::multiplyRounded16(centre2_, y2), V::multiplyRounded16(outer3_, y64)};
    }

    Taps<V> y_;
    Vector outer0_;  // -2 x tap
    Vector outer3_;
    Vector centre1_;  // 64 x tap
    Vector centre2_;
};

/// Rows of four bytes in every 32-bit lane: a pixel's taps.
template <typename V, int rows>
struct Samples {
    typename V::Vector row[rows];
};

/// From places in a plane (row x 65536 + byte of the row).
template <typename V, int rows>
Samples<V, rows> gather(const uint8_t* plane, std::ptrdiff_t stride, typename V::Vector places) {
    using Vector = typename V::Vector;
    const int step = static_cast<int>(stride);
    const Vector offsets =
        step <= INT16_MAX
            ? V::multiplyAdd16(places, V::broadcast32(step << 16 | 1))
            : V::add32(V::multiply32(V::template shiftRightSigned32<16>(places), V::broadcast32(step)),
                       V::bitAnd(places, V::broadcast32(UINT16_MAX)));
    Samples<V, rows> samples;
    for (Vector& row : samples.row) {
        row = V::gather32(plane, offsets);
        plane += stride;
    }
    return samples;
}

/// Pairs of chroma from two planes. The last places of a row are read from four bytes that end with it.
template <typename V>
Samples<V, 2> gatherPairs(const WarpSource& src, typename V::Vector places) {
    using Vector = typename V::Vector;
    const Vector column = V::bitAnd(places, V::broadcast32(UINT16_MAX));
    const Vector beyond =
        V::max32(V::subtract32(column, V::broadcast32(src.width / 2 - 4)), V::broadcast32(0));
    const Vector bits = V::template shiftLeft32<3>(beyond);
    places = V::subtract32(places, beyond);
    const auto u = gather<V, 2>(src.u, src.uStride, places);
    const auto v = gather<V, 2>(src.v, src.vStride, places);
    const Vector order = V::repeat128(_mm_setr_epi8(0, 2, 1, 3, 4, 6, 5, 7, 8, 10, 9, 11, 12, 14, 13, 15));
    Samples<V, 2> pairs;
    for (int j = 0; j < 2; ++j) {
        pairs.row[j] = V::shuffle8(
            V::interleaveEven16(V::shiftRightBy32(u.row[j], bits), V::shiftRightBy32(v.row[j], bits)), order);
    }
    return pairs;
}

/// The weighted sums of a vector of pixels, normalised and clamped by their 2 x 2 centre taps.
template <typename V>
typename V::Vector finish(typename V::Vector sum, typename V::Vector missing, const Samples<V, 4>& samples) {
    using Vector = typename V::Vector;
    const Vector half = V::broadcast32(128);
    const auto secondByte = [](Vector bytes) {
        return V::bitAnd(V::template shiftRightSigned32<8>(bytes), V::broadcast32(255));
    };
    const Vector correction = V::template shiftRightSigned32<8>(V::add32(V::multiply32(sum, missing), half));
    const Vector value = V::template shiftRightSigned32<8>(V::add32(V::add32(sum, correction), half));
    const Vector least = V::min8(samples.row[1], samples.row[2]);
    const Vector most = V::max8(samples.row[1], samples.row[2]);
    const Vector low = secondByte(V::min8(least, V::template shiftRightSigned32<8>(least)));
    const Vector high = secondByte(V::max8(most, V::template shiftRightSigned32<8>(most)));
    return V::min32(V::max32(value, low), high);
}

/// Two vectors of pixels, in order.
template <typename V>
struct LumaValues {
    typename V::Vector left;
    typename V::Vector right;
};

/// Fractions are in the order of V::pack16: interleaving gives 32-bit lanes in natural order.
template <typename V>
LumaValues<V> filterLuma(const Samples<V, 4>& left, const Samples<V, 4>& right, const Weights<V>& weights) {
    using Vector = typename V::Vector;
    const Vector lowBytes = V::broadcast16(255);
    Vector sumLeft = V::broadcast32(0);
    Vector sumRight = V::broadcast32(0);
    Vector missing = V::broadcast16(256);  // what the weights lack, -5 to 5
    for (int j = 0; j < 4; ++j) {
        const auto w = weights.row(j);
        const auto add = [&](Vector& sum, Vector bytes, Vector even, Vector odd) {
            sum = V::add32(sum, V::multiplyAdd16(V::bitAnd(bytes, lowBytes), even));
            sum = V::add32(sum, V::multiplyAdd16(V::template shiftRight16<8>(bytes), odd));
        };
        add(sumLeft, left.row[j], V::interleaveLow16(w.w0, w.w2), V::interleaveLow16(w.w1, w.w3));
        add(sumRight, right.row[j], V::interleaveHigh16(w.w0, w.w2), V::interleaveHigh16(w.w1, w.w3));
        missing = V::subtract16(missing, V::add16(V::add16(w.w0, w.w1), V::add16(w.w2, w.w3)));
    }
    const Vector sign = V::template shiftRightSigned16<15>(missing);
    return {finish<V>(sumLeft, V::interleaveLow16(missing, sign), left),
            finish<V>(sumRight, V::interleaveHigh16(missing, sign), right)};
}

/// Chroma pairs in 32-bit lanes, from the two by two around each and distances in 1/512 from the first of
/// them.
template <typename V>
typename V::Vector mixPairs(const Samples<V, 2>& samples, typename V::Vector fromX,
                            typename V::Vector fromY) {
    using Vector = typename V::Vector;
    const Vector fraction = V::broadcast32(511);
    const Vector whole = V::broadcast32(512);
    const Vector right = V::bitAnd(fromX, fraction);
    const Vector upper = V::subtract32(whole, V::bitAnd(fromY, fraction));
    const Vector across = V::interleaveEven16(V::subtract32(whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const Vector top = V::multiplyRounded16(V::template shiftLeft16<3>(across),
                                            V::template shiftLeft16<3>(V::interleaveEven16(upper, upper)));
    const Vector weights[2] = {top, V::subtract16(across, top)};
    const Vector lowBytes = V::broadcast16(255);
    Vector u = V::broadcast32(256);
    Vector v = u;
    for (int j = 0; j < 2; ++j) {
        u = V::add32(u, V::multiplyAdd16(V::bitAnd(samples.row[j], lowBytes), weights[j]));
        v = V::add32(v, V::multiplyAdd16(V::template shiftRight16<8>(samples.row[j]), weights[j]));
    }
    return V::bitOr(V::template shiftRightSigned32<9>(u),
                    V::template shiftLeft32<8>(V::template shiftRightSigned32<9>(v)));
}

}  // namespace
}  // namespace vantor
