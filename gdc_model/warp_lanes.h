// The arithmetic of the warp in 32-bit and 16-bit lanes, one source for all vector types with multiply-add of
// pairs.
#pragma once

#include "gdc_model/warp_kernels.h"

namespace vantor {
namespace {

/// A third of factor x value / 2^shift, below 2^23, whose single-precision third is exact or rounds away from
/// the next integer.
template <typename V, int shift>
typename V::Vector roundedThird(int factor, typename V::Vector value) {
    const auto product = V::multiply32(value, V::broadcast32(factor));
    return V::third32(
        V::template shiftRightSigned32<shift>(V::add32(product, V::broadcast32(1 << (shift - 1)))));
}

template <typename V>
NodeBounds boundsOf(const int32_t* values) {
    auto largest = V::abs32(V::load(values));
    auto step = V::broadcast32(0);
    for (int i = 0; i < kGridCells; i += V::kLanes32) {
        const auto next = V::load(values + i + 1);
        largest = V::max32(largest, V::abs32(next));
        step = V::max32(step, V::abs32(V::subtract32(next, V::load(values + i))));
    }
    return {V::largest32(largest), V::largest32(step)};
}

template <typename V>
NodeBounds nodes(const GdcGrid& grid, int cell, int within, int32_t* values) {
    using Vector = typename V::Vector;
    const bool isFirst = cell == 1, isLast = cell == kGridCells;
    const int bulge = (64 + within * (384 - within)) / 384;
    for (int i = 0; i < kGridNodes; i += V::kLanes32) {
        const int first = i < kGridNodes - V::kLanes32 ? i : kGridNodes - V::kLanes32;
        const Vector top = V::load(grid[cell - 1] + first);
        const Vector bottom = V::load(grid[cell] + first);
        const Vector difference = V::subtract32(bottom, top);
        const Vector chord = V::template shiftLeft32<2>(difference);
        Vector slope0 = difference, slope1 = difference;
        if (!isFirst) slope0 = V::subtract32(bottom, V::load(grid[cell - 2] + first));
        if (!isLast) slope1 = V::subtract32(V::load(grid[cell + 1] + first), top);
        if (isFirst) slope0 = V::subtract32(chord, slope1);
        if (isLast) slope1 = V::subtract32(chord, slope0);
        const Vector excess = V::subtract32(V::subtract32(chord, slope0), slope1);
        const Vector halfChange = V::template shiftRightSigned32<1>(V::subtract32(slope1, slope0));
        const Vector outer = V::add32(roundedThird<V, 8>(384 - 2 * within, excess), halfChange);
        const Vector linear =
            V::add32(roundedThird<V, 8>(within, difference), V::template shiftRightSigned32<1>(top));
        const Vector value = V::subtract32(linear, roundedThird<V, 9>(bulge, outer));
        V::store(values + first,
                 V::min32(V::max32(value, V::broadcast32(-4194304)), V::broadcast32(4194303)));
    }
    return boundsOf<V>(values);
}

/// What positions of one coordinate are computed from, a vector of columns at a time.
template <typename V>
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

template <typename V>
void positions(const WarpRun& run, int32_t* x, int32_t* y) {
    LineOfLanes<V> lineX(run.x);
    LineOfLanes<V> lineY(run.y);
    for (int i = 0; i < run.count; i += V::kLanes32) {
        const auto u = V::loadWidened16(run.within + i);
        const auto q = V::loadWidened16(run.bulge + i);
        V::store(x + i, lineX.next(u, q));
        V::store(y + i, lineY.next(u, q));
    }
}

/// The curves of a row, from one cell to another, a vector of cells at a time. Factors of 16 bits fill both
/// halves of 32.
template <typename V>
class RowCurves {
public:
    using Vector = typename V::Vector;

    int32_t excess4[kGridCells];
    int32_t slopeChange[kGridCells];
    int32_t difference2[kGridCells];
    int32_t start[kGridCells];      // the displacement at the left node, in 1/256 sample, rounded down
    int32_t remainder[kGridCells];  // what that leaves, in 1/8192 of its unit, and a half
    int32_t isWide[kGridCells];     // not 0 where the factors do not fit 16 bits: see WarpRun::isNarrow

    /// Cells 0 to 31.
    RowCurves(const WarpRow& row, int first, int last) : row_(row) {
        for (int i = 0; i < kGridNodes; i += V::kLanes32) {
            const int from = i < kGridNodes - V::kLanes32 ? i : kGridNodes - V::kLanes32;
            V::store(nodes_ + 1 + from, V::load(row.nodes + from));
        }
        // The parabolas of the first and last cell, continued.
        nodes_[0] = 3 * (nodes_[1] - nodes_[2]) + nodes_[3];
        nodes_[kGridNodes + 1] = 3 * (nodes_[kGridNodes] - nodes_[kGridNodes - 1]) + nodes_[kGridNodes - 2];
        for (int i = first & -V::kLanes32; i <= last; i += V::kLanes32) fill(i);
    }

    /// What `positions` takes of a wide curve, with the row's columns from one on.
    WarpLine line(int cell, int column) const {
        const int32_t* const nodes = nodes_ + cell;
        const int32_t difference = nodes[2] - nodes[1];
        const int32_t slope0 = nodes[2] - nodes[0];
        const int32_t slope1 = nodes[3] - nodes[1];
        return {nodes[1],      difference, slope1 - slope0, 4 * difference - slope0 - slope1,
                row_.invScale, 0,          base(column),    row_.step};
    }

    /// The undisplaced position of a column.
    int32_t base(int column) const { return static_cast<int32_t>(row_.base + int64_t{column} * row_.step); }

private:
    void fill(int i) {
        const Vector left = V::load(nodes_ + i + 1);
        const Vector right = V::load(nodes_ + i + 2);
        const Vector difference = V::subtract32(right, left);
        const Vector slope0 = V::subtract32(right, V::load(nodes_ + i));
        const Vector slope1 = V::subtract32(V::load(nodes_ + i + 3), left);
        const Vector change = V::subtract32(slope1, slope0);
        const Vector excess =
            V::subtract32(V::subtract32(V::template shiftLeft32<2>(difference), slope0), slope1);
        V::store(excess4 + i, twice16(V::template shiftLeft32<2>(excess)));
        V::store(slopeChange + i, twice16(change));
        V::store(difference2 + i, twice16(V::template shiftLeft32<1>(difference)));
        // 23 bits by 15: the upper 15 of the node apart from its lower eight, to which the rounding is added.
        const Vector scale = V::broadcast32(row_.invScale);
        const Vector upper = V::multiply32(V::template shiftRightSigned32<8>(left), scale);
        const Vector lower =
            V::add32(V::multiply32(V::bitAnd(left, V::broadcast32(255)), scale), V::broadcast32(4096));
        const Vector product = V::add32(upper, V::template shiftRightSigned32<8>(lower));
        V::store(start + i, V::template shiftRightSigned32<5>(product));
        V::store(remainder + i, V::bitOr(V::template shiftLeft32<8>(V::bitAnd(product, V::broadcast32(31))),
                                         V::bitAnd(lower, V::broadcast32(255))));
        const Vector bend = V::abs32(excess);
        const Vector most = V::add32(bend, V::abs32(change));
        V::store(isWide + i, V::bitOr(V::template shiftRightSigned32<14>(V::abs32(difference)),
                                      V::bitOr(V::template shiftRightSigned32<13>(bend),
                                               V::template shiftRightSigned32<15>(most))));
    }

    static Vector twice16(Vector a) {
        return V::interleaveEven16(V::bitAnd(a, V::broadcast32(UINT16_MAX)), a);
    }

    const WarpRow& row_;
    int32_t nodes_[kGridNodes + 2];
};

/// Positions along one narrow curve, in 16-bit lanes but for the start's part, two vectors of columns at a
/// time: (a b + 2^14) >> 15 of scaled factors.
template <typename V, bool isMoving>
class NarrowLine {
public:
    using Vector = typename V::Vector;

    /// `base` has the first columns' undisplaced positions.
    NarrowLine(const RowCurves<V>& curves, int i, Vector scale, Vector base, Vector step)
        : excess4_(V::broadcast32(curves.excess4[i])),
          slopeChange_(V::broadcast32(curves.slopeChange[i])),
          difference2_(V::broadcast32(curves.difference2[i])),
          remainder_(V::broadcast32(curves.remainder[i])),
          scale_(scale),
          base_(V::add32(base, V::broadcast32(curves.start[i]))),
          step_(step) {}

    void next(Vector u32, Vector q16, int32_t* out) {
        const Vector fromMiddle = V::subtract16(V::broadcast16(256 * 32), u32);
        const Vector e = V::add16(V::multiplyRounded16(excess4_, fromMiddle), slopeChange_);
        const Vector fromStart =
            V::subtract16(V::multiplyRounded16(difference2_, u32), V::multiplyRounded16(e, q16));
        store(out, V::widenLow16(fromStart));
        store(out + V::kLanes32, V::widenHigh16(fromStart));
    }

private:
    void store(int32_t* out, Vector fromStart) {
        const Vector product = V::addProducts16(remainder_, fromStart, scale_);
        V::store(out, V::add32(base_, V::template shiftRightSigned32<13>(product)));
        if (isMoving) base_ = V::add32(base_, step_);
    }

    Vector excess4_;
    Vector slopeChange_;
    Vector difference2_;
    Vector remainder_;
    Vector scale_;
    Vector base_;
    Vector step_;
};

template <typename V>
void rowPositions(const WarpColumns& columns, const WarpRow& rowX, const WarpRow& rowY, int32_t* x,
                  int32_t* y) {
    using Vector = typename V::Vector;
    const WarpCell* next = columns.cells;
    // A negative step leads from higher cells to lower ones.
    int lowest = next->cell;
    int highest = lowest;
    for (const WarpCell* cell = next; cell->end < columns.first + columns.count;) {
        ++cell;
        lowest = cell->cell < lowest ? cell->cell : lowest;
        highest = cell->cell > highest ? cell->cell : highest;
    }
    const RowCurves<V> curvesX(rowX, lowest - 1, highest - 1);
    const RowCurves<V> curvesY(rowY, lowest - 1, highest - 1);
    const Vector scaleX = V::broadcast32(rowX.invScale);
    const Vector scaleY = V::broadcast32(rowY.invScale);
    const Vector baseY = V::broadcast32(rowY.base);
    const Vector step = V::multiply32(V::broadcast32(rowX.step), V::broadcast32(V::kLanes32));
    const Vector steps = V::multiply32(V::iota32(), V::broadcast32(rowX.step));
    for (int i = 0; i < columns.count; ++next) {
        const int end = next->end - columns.first < columns.count ? next->end - columns.first : columns.count;
        const int cell = next->cell - 1;
        if (curvesX.isWide[cell] != 0 || curvesY.isWide[cell] != 0) {
            positions<V>({columns.within + i, columns.bulge + i, end - i, false, curvesX.line(cell, i),
                          curvesY.line(cell, i)},
                         x + i, y + i);
            i = end;
            continue;
        }
        const Vector baseX = V::add32(steps, V::broadcast32(curvesX.base(i)));
        NarrowLine<V, true> lineX(curvesX, cell, scaleX, baseX, step);
        NarrowLine<V, false> lineY(curvesY, cell, scaleY, baseY, step);
        for (; i < end; i += V::kLanes16) {
            const auto u32 = V::template shiftLeft16<5>(V::load(columns.within + i));
            const auto q16 = V::template shiftLeft16<4>(V::load(columns.bulge + i));
            lineX.next(u32, q16, x + i);
            lineY.next(u32, q16, y + i);
        }
        i = end;
    }
}

/// A constant that stays in a register or in memory. Compilers would broadcast it anew from a general
/// register in every group of pixels, which costs as much as arithmetic.
template <typename Vector>
Vector kept(Vector constant) {
#if defined(__x86_64__)
    asm("" : "+v"(constant));
#endif
    return constant;
}

/// What all groups of pixels need.
template <typename V>
struct LumaConstants {
    using Vector = typename V::Vector;
    Vector whole = kept(V::broadcast16(256));
    Vector slope = kept(V::broadcast16(1280));
    Vector lowBytes = kept(V::broadcast16(255));
    Vector twice = kept(V::broadcast16(512));
    Vector three = kept(V::broadcast16(3));
    Vector ones = kept(V::broadcast16(0x0101));
    Vector half = kept(V::broadcast32(128 * 256 + 128));
    Vector middle = kept(V::repeat128(0x0E0D0A0906050201, 0x0E0D0A0906050201));
};

/// The magnitudes of the four taps' weights at phases p: of p (256 - p)^2, 2^25 - p^2 (1280 - 3p), p 2^16 +
/// p^2 (1024 - 3p) and p^2 (256 - p), over 2^17, rounded. (x / 2^16 rounded down, plus 1) / 2 is that.
template <typename V>
struct Taps {
    using Vector = typename V::Vector;
    Vector outer0;
    Vector centre1;
    Vector centre2;
    Vector outer3;

    Taps(const LumaConstants<V>& constants, Vector p) {
        const Vector zero = V::broadcast16(0);
        const Vector whole = constants.whole;
        const Vector q = V::subtract16(whole, p);
        const Vector pq = V::multiply16(p, q);
        const Vector pp = V::multiply16(p, p);
        const Vector slope = V::subtract16(constants.slope, V::multiply16(p, constants.three));
        outer0 = V::average16(V::multiplyHighUnsigned16(pq, q), zero);
        outer3 = V::average16(V::multiplyHighUnsigned16(pq, p), zero);
        centre1 = V::subtract16(whole, V::average16(V::multiplyHighUnsigned16(pp, slope), zero));
        centre2 = V::average16(V::multiplyHighUnsigned16(pp, V::subtract16(slope, whole)), p);
    }
};

/// The sixteen weights of a pixel: (128 x product + 2^14) >> 15 rounds ties up. Where one factor is an
/// outer tap (never positive) and the other a centre tap (never negative), ties must go down: the centre
/// tap is enlarged by 1/64, which changes the product by less than its distance from any other tie. Taps are
/// magnitudes: such products take the negative of the centre tap, ~(64 x tap).
template <typename V>
class Weights {
public:
    using Vector = typename V::Vector;

    Weights(const LumaConstants<V>& constants, Vector fractionX, Vector fractionY)
        : y_(constants, fractionY) {
        const Taps<V> x(constants, fractionX);
        outer0_ = V::add16(x.outer0, x.outer0);
        outer3_ = V::add16(x.outer3, x.outer3);
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
        if (j == 0) return outerRow(y_.outer0);
        if (j == 1) return centreRow(y_.centre1);
        if (j == 2) return centreRow(y_.centre2);
        return outerRow(y_.outer3);
    }

private:
    Row outerRow(Vector y) const {
        const Vector y2 = V::add16(y, y);
        const Vector y64 = V::template shiftLeft16<6>(y);
        return {V::multiplyRounded16(outer0_, y64), V::multiplyRounded16(V::bitNot(centre1_), y2),
                V::multiplyRounded16(V::bitNot(centre2_), y2), V::multiplyRounded16(outer3_, y64)};
    }
    Row centreRow(Vector y) const {
        const Vector y2 = V::add16(y, y);
        const Vector minusY64 = V::bitNot(V::template shiftLeft16<6>(y));
        return {V::multiplyRounded16(outer0_, minusY64), V::multiplyRounded16(centre1_, y2),
                V::multiplyRounded16(centre2_, y2), V::multiplyRounded16(outer3_, minusY64)};
    }

    Taps<V> y_;
    Vector outer0_;  // 2 x tap
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
    const Vector order = V::repeat128(0x0705060403010200, 0x0F0D0E0C0B090A08);
    Samples<V, 2> pairs;
    for (int j = 0; j < 2; ++j) {
        pairs.row[j] = V::shuffle8(
            V::interleaveEven16(V::shiftRightBy32(u.row[j], bits), V::shiftRightBy32(v.row[j], bits)), order);
    }
    return pairs;
}

/// Weighted sums of a vector of pixels, times `scale` / 256: 512 less the sum of their weights, which may not
/// be 256.
template <typename V>
typename V::Vector normalised(const LumaConstants<V>& constants, typename V::Vector sum,
                              typename V::Vector scale) {
    // Adding (sum (scale - 256) + 128) >> 8 to the sum, and rounding it by 8 bits, is one rounding by 16.
    return V::template shiftRightSigned32<16>(V::add32(V::multiply32(sum, scale), constants.half));
}

/// The weights of an outer row, which are bytes, in the order of samples.
template <typename V>
class OuterRow {
public:
    using Vector = typename V::Vector;

    explicit OuterRow(const typename Weights<V>::Row& w)
        : w01_(V::mergeLowBytes(w.w0, w.w1)), w23_(V::mergeLowBytes(w.w2, w.w3)) {}

    Vector left() const { return V::interleaveLow16(w01_, w23_); }
    Vector right() const { return V::interleaveHigh16(w01_, w23_); }
    /// Two bytes per pixel, whose sum is that of the weights.
    Vector sums() const { return V::add8(w01_, w23_); }

private:
    Vector w01_;
    Vector w23_;
};

/// Values of two vectors of pixels in 16-bit lanes, clamped by their 2 x 2 centre taps. Fractions and values
/// are in the order of V::pack16: interleaving them gives 32-bit lanes in natural order.
template <typename V>
typename V::Vector filterLuma(const LumaConstants<V>& constants, const Samples<V, 4>& left,
                              const Samples<V, 4>& right, const Weights<V>& weights) {
    using Vector = typename V::Vector;
    const OuterRow<V> first(weights.row(0));
    const OuterRow<V> last(weights.row(3));
    Vector sumLeft = V::sumProducts8(left.row[0], first.left(), left.row[3], last.left());
    Vector sumRight = V::sumProducts8(right.row[0], first.right(), right.row[3], last.right());
    Vector scale =
        V::subtract16(constants.twice, V::multiplyAdd8(constants.ones, V::add8(first.sums(), last.sums())));
    for (int j = 1; j < 3; ++j) {
        const auto w = weights.row(j);
        const auto add = [&](Vector& sum, Vector bytes, Vector even, Vector odd) {
            sum = V::addProducts16(sum, V::bitAnd(bytes, constants.lowBytes), even);
            sum = V::addProducts16(sum, V::template shiftRight16<8>(bytes), odd);
        };
        add(sumLeft, left.row[j], V::interleaveLow16(w.w0, w.w2), V::interleaveLow16(w.w1, w.w3));
        add(sumRight, right.row[j], V::interleaveHigh16(w.w0, w.w2), V::interleaveHigh16(w.w1, w.w3));
        scale = V::subtract16(scale, V::add16(V::add16(w.w0, w.w1), V::add16(w.w2, w.w3)));
    }
    const Vector zero = V::broadcast16(0);
    const Vector value = V::pack32(normalised<V>(constants, sumLeft, V::interleaveLow16(scale, zero)),
                                   normalised<V>(constants, sumRight, V::interleaveHigh16(scale, zero)));
    // The middle bytes of each 32-bit lane, in 16-bit lanes.
    const Vector least = V::shuffleHalves8(V::min8(left.row[1], left.row[2]),
                                           V::min8(right.row[1], right.row[2]), constants.middle);
    const Vector most = V::shuffleHalves8(V::max8(left.row[1], left.row[2]),
                                          V::max8(right.row[1], right.row[2]), constants.middle);
    const Vector low = V::min8(least, V::template shiftRight16<8>(least));
    const Vector high = V::bitAnd(V::max8(most, V::template shiftRight16<8>(most)), constants.lowBytes);
    return V::min16(V::max16(value, low), high);
}

/// What all groups of chroma need.
template <typename V>
struct ChromaConstants {
    using Vector = typename V::Vector;
    Vector fraction = kept(V::broadcast32(511));
    Vector whole = kept(V::broadcast32(512));
    Vector half = kept(V::broadcast32(256));
    Vector lowBytes = kept(V::broadcast16(255));
    Vector halfSample = kept(V::broadcast32(128));  // of luma
    Vector neutral = kept(V::broadcast32(0x8080));
};

/// Chroma pairs in 32-bit lanes, from the two by two around each and distances in 1/512 from the first of
/// them.
template <typename V>
typename V::Vector mixPairs(const ChromaConstants<V>& constants, const Samples<V, 2>& samples,
                            typename V::Vector fromX, typename V::Vector fromY) {
    using Vector = typename V::Vector;
    const Vector right = V::bitAnd(fromX, constants.fraction);
    const Vector upper = V::subtract32(constants.whole, V::bitAnd(fromY, constants.fraction));
    const Vector across = V::interleaveEven16(V::subtract32(constants.whole, right), right);
    // 9 bits of fraction: 64 x product, rounded by 15.
    const Vector top = V::multiplyRounded16(V::template shiftLeft16<3>(across),
                                            V::template shiftLeft16<3>(V::interleaveEven16(upper, upper)));
    const Vector weights[2] = {top, V::subtract16(across, top)};
    Vector u = constants.half;
    Vector v = u;
    for (int j = 0; j < 2; ++j) {
        u = V::addProducts16(u, V::bitAnd(samples.row[j], constants.lowBytes), weights[j]);
        v = V::addProducts16(v, V::template shiftRight16<8>(samples.row[j]), weights[j]);
    }
    return V::bitOr(V::template shiftRightSigned32<9>(u),
                    V::template shiftLeft32<8>(V::template shiftRightSigned32<9>(v)));
}

}  // namespace
}  // namespace vantor
