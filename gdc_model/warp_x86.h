// The arithmetic of the warp in 32-bit and 16-bit lanes, one text for both vector types.
#pragma once

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
              V::addDwords(V::template shiftLeftDwords<9>(V::dwords(line.excess)), V::dwords(256))),
          excessStep_(V::template shiftLeftDwords<1>(V::dwords(line.excess))),
          start_(V::dwords(line.start)),
          difference_(V::dwords(line.difference)),
          slopeChange_(V::dwords(line.slopeChange)),
          invScale_(V::dwords(line.invScale)),
          invScaleAndOne_(V::dwords(line.invScale | 1 << 16)),
          base_(
              V::addDwords(V::dwords(line.base), V::multiplyDwords(V::countDwords(), V::dwords(line.step)))),
          step_(V::multiplyDwords(V::dwords(line.step), V::dwords(V::kDwords))) {}

    Vector next(Vector u, Vector q) {
        // Both terms wrap, but their difference, excess (512 - 2u) + 256, fits.
        const Vector ex = V::template shiftRightDwords<9>(
            V::subtractDwords(excessAtStart_, V::multiplyDwords(u, excessStep_)));
        const Vector bulge = rounded<11>(V::multiplyDwords(V::addDwords(ex, slopeChange_), q));
        const Vector linear = rounded<9>(V::multiplyDwords(u, difference_));
        const Vector position =
            V::addDwords(base_, move(V::subtractDwords(V::addDwords(start_, linear), bulge)));
        base_ = V::addDwords(base_, step_);
        return position;
    }

private:
    template <int Bits>
    static Vector rounded(Vector a) {
        return V::template shiftRightDwords<Bits>(V::addDwords(a, V::dwords(1 << (Bits - 1))));
    }

    /// 24 bits by 15: the upper 16 bits of d apart from its lower eight, to which the rounding is added.
    Vector move(Vector d) const {
        if (isShort) return rounded<13>(V::multiplyDwords(d, invScale_));
        const Vector upper = V::weighWords(V::template shiftRightDwords<8>(d), invScale_);
        const Vector lower = V::bitOr(V::bitAnd(d, V::dwords(255)), V::dwords(4096 << 16));
        const Vector carried = V::template shiftRightDwords<8>(V::weighWords(lower, invScaleAndOne_));
        return V::template shiftRightDwords<5>(V::addDwords(upper, carried));
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
    for (int i = 0; i < run.count; i += V::kDwords) {
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
        const Vector zero = V::words(0);
        const Vector whole = V::words(256);
        const Vector q = V::subtract(whole, p);
        const Vector pq = V::multiply(p, q);
        const Vector pp = V::multiply(p, p);
        const Vector slope = V::subtract(V::words(1280), V::add(V::add(p, p), p));
        outer0 = V::average(V::multiplyHighUnsigned(pq, q), zero);
        outer3 = V::average(V::multiplyHighUnsigned(pq, p), zero);
        centre1 = V::subtract(whole, V::average(V::multiplyHighUnsigned(pp, slope), zero));
        centre2 = V::average(V::multiplyHighUnsigned(pp, V::subtract(slope, whole)), p);
    }
};

/// The sixteen weights of a pixel: (128 x product + 2^14) >> 15 rounds halves up. Where one factor is an
/// outer tap (never positive) and the other a centre tap (never negative), halves must go down: the centre
/// tap is enlarged by 1/64, which moves the product by less than its distance from any other half.
template <typename V>
class Weights {
public:
    using Vector = typename V::Vector;

    Weights(Vector fractionX, Vector fractionY) : y_(fractionY) {
        const Taps<V> x(fractionX);
        outer0_ = minusTwice(x.outer0);
        outer3_ = minusTwice(x.outer3);
        centre1_ = V::template shiftLeft<6>(x.centre1);
        centre2_ = V::template shiftLeft<6>(x.centre2);
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
    static Vector minusTwice(Vector tap) { return V::subtract(V::words(0), V::add(tap, tap)); }
    static Vector enlarged(Vector tap64) { return V::bitOr(tap64, V::words(1)); }

    Row outerRow(Vector y) const {
        const Vector y32 = V::template shiftLeft<5>(y);
        return {V::multiplyRounded(outer0_, y32), V::multiplyRounded(enlarged(centre1_), y),
                V::multiplyRounded(enlarged(centre2_), y), V::multiplyRounded(outer3_, y32)};
    }
    Row centreRow(Vector y) const {
        const Vector y2 = V::add(y, y);
        const Vector y64 = enlarged(V::template shiftLeft<6>(y));
        return {V::multiplyRounded(outer0_, y64), V::multiplyRounded(centre1_, y2),
                V::multiplyRounded(centre2_, y2), V::multiplyRounded(outer3_, y64)};
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

/// The weighted sums of a vector of pixels, normalised and clamped by their 2 x 2 centre taps.
template <typename V>
typename V::Vector finish(typename V::Vector sum, typename V::Vector missing, const Samples<V, 4>& samples) {
    using Vector = typename V::Vector;
    const Vector half = V::dwords(128);
    const auto secondByte = [](Vector bytes) {
        return V::bitAnd(V::template shiftRightDwords<8>(bytes), V::dwords(255));
    };
    const Vector correction =
        V::template shiftRightDwords<8>(V::addDwords(V::multiplyDwords(sum, missing), half));
    const Vector value = V::template shiftRightDwords<8>(V::addDwords(V::addDwords(sum, correction), half));
    const Vector least = V::minBytes(samples.row[1], samples.row[2]);
    const Vector most = V::maxBytes(samples.row[1], samples.row[2]);
    const Vector low = secondByte(V::minBytes(least, V::template shiftRightDwords<8>(least)));
    const Vector high = secondByte(V::maxBytes(most, V::template shiftRightDwords<8>(most)));
    return V::minDwords(V::maxDwords(value, low), high);
}

/// Two vectors of pixels, in order.
template <typename V>
struct LumaValues {
    typename V::Vector left;
    typename V::Vector right;
};

/// Words of fractions stand in the order of V::packWords: interleaving gives 32-bit lanes in natural order.
template <typename V>
LumaValues<V> weighLuma(const Samples<V, 4>& left, const Samples<V, 4>& right, const Weights<V>& weights) {
    using Vector = typename V::Vector;
    const Vector lowBytes = V::words(255);
    Vector sumLeft = V::dwords(0);
    Vector sumRight = V::dwords(0);
    Vector missing = V::words(256);  // what the weights lack, -5 to 5
    for (int j = 0; j < 4; ++j) {
        const auto w = weights.row(j);
        const auto add = [&](Vector& sum, Vector bytes, Vector even, Vector odd) {
            sum = V::addDwords(sum, V::weighWords(V::bitAnd(bytes, lowBytes), even));
            sum = V::addDwords(sum, V::weighWords(V::template shiftRight<8>(bytes), odd));
        };
        add(sumLeft, left.row[j], V::lowWords(w.w0, w.w2), V::lowWords(w.w1, w.w3));
        add(sumRight, right.row[j], V::highWords(w.w0, w.w2), V::highWords(w.w1, w.w3));
        missing = V::subtract(missing, V::add(V::add(w.w0, w.w1), V::add(w.w2, w.w3)));
    }
    const Vector sign = V::template shiftRightSigned<15>(missing);
    return {finish<V>(sumLeft, V::lowWords(missing, sign), left),
            finish<V>(sumRight, V::highWords(missing, sign), right)};
}

/// Chroma pairs in 32-bit lanes, from the two by two around each and distances in 1/512 from the first of
/// them.
template <typename V>
typename V::Vector mixPairs(const Samples<V, 2>& samples, typename V::Vector fromX,
                            typename V::Vector fromY) {
    using Vector = typename V::Vector;
    const Vector fraction = V::dwords(511);
    const Vector whole = V::dwords(512);
    const Vector right = V::bitAnd(fromX, fraction);
    const Vector upper = V::subtractDwords(whole, V::bitAnd(fromY, fraction));
    const Vector across = V::halves(V::subtractDwords(whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const Vector top = V::multiplyRounded(V::template shiftLeft<3>(across),
                                          V::template shiftLeft<3>(V::halves(upper, upper)));
    const Vector weights[2] = {top, V::subtract(across, top)};
    const Vector lowBytes = V::words(255);
    Vector u = V::dwords(256);
    Vector v = u;
    for (int j = 0; j < 2; ++j) {
        u = V::addDwords(u, V::weighWords(V::bitAnd(samples.row[j], lowBytes), weights[j]));
        v = V::addDwords(v, V::weighWords(V::template shiftRight<8>(samples.row[j]), weights[j]));
    }
    return V::bitOr(V::template shiftRightDwords<9>(u),
                    V::template shiftLeftDwords<8>(V::template shiftRightDwords<9>(v)));
}

}  // namespace
}  // namespace vantor
