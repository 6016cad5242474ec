// From an output position to its displacement: the virtual frame, and the interpolation of the grid in it.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid.h"

namespace vantor {

constexpr int32_t kMaxVectorRise = 1 << 20;
constexpr int kVirtualCellWidth = 512;
constexpr int kVirtualCellHeight = 384;
constexpr int kVirtStepShiftX = 8;
constexpr int kVirtStepShiftY = 6;

/// A grid as rows of nodes.
struct GridTables {
    GdcGrid x;
    GdcGrid y;
    bool fitsVectors;  ///< no node differs by more than kMaxVectorRise from the one below

    /// From the nodes, row by row.
    GridTables(const int32_t* dX, const int32_t* dY) {
        std::copy_n(dX, kGridNodes * kGridNodes, &x[0][0]);
        std::copy_n(dY, kGridNodes * kGridNodes, &y[0][0]);
        fitsVectors = risesLittle(dX) && risesLittle(dY);
    }
    explicit GridTables(const Grid& grid) : GridTables(grid.dX, grid.dY) {}

private:
    static bool risesLittle(const int32_t* nodes) {
        uint32_t excess = 0;
        for (int i = 0; i < kGridCells * kGridNodes; ++i) {
            const int32_t rise = wrapSub(nodes[i + kGridNodes], nodes[i]);
            excess |= static_cast<uint32_t>(wrapAdd(rise, kMaxVectorRise)) / (2 * kMaxVectorRise);
        }
        return excess == 0;
    }
};

/// Where an output column or row lies in the virtual frame.
struct VirtualPosition {
    int coordinate;  ///< 0 to 16384 across, 0 to 12288 down
    int cell;    ///< 1 to 32, between nodes cell - 1 and cell; the frame's far edge belongs to the last cell
    int within;  ///< 0 to the cell's size, both included
};

/// Of output column or row `position`. `cellSize` is kVirtualCellWidth or kVirtualCellHeight.
inline VirtualPosition virtualPosition(const GdcAxis& axis, int position, int cellSize) {
    const int32_t halfSteps = wrapAdd(wrapAdd(wrapMul(2, position), 1), wrapMul(2, axis.cropStart));
    const int32_t product = wrapMul(halfSteps, wrapMul(axis.outScale, axis.scale) >> 7);
    const int32_t scaled = divide(wrapAdd(product, powerOfTwo(wrapAdd(axis.scaleShifter, 7))),
                                  powerOfTwo(wrapAdd(axis.scaleShifter, 8)));
    const int frameSize = kGridCells * cellSize;
    const int coordinate = std::clamp(axis.mirror ? wrapSub(frameSize, scaled) : scaled, 0, frameSize);
    const int cell = std::min(coordinate / cellSize + 1, kGridCells);
    return {coordinate, cell, coordinate - cellSize * (cell - 1)};
}

/// Cubic Hermite curve over one cell of four nodes, b and c its ends: its difference, the central differences
/// at both ends (twice the slopes), and how far the curve is from its chord.
struct HermiteCell {
    int32_t difference;
    int32_t slopeChange;  ///< s1 - s0
    int32_t excess;       ///< 4 x difference - s0 - s1

    /// In the first and last cell, whose outer node is missing, the curve is a parabola.
    HermiteCell(int32_t a, int32_t b, int32_t c, int32_t d, int cell) : difference(wrapSub(c, b)) {
        int32_t s0 = wrapSub(c, a);
        int32_t s1 = wrapSub(d, b);
        if (cell == 1) s0 = wrapSub(wrapMul(4, difference), s1);
        if (cell == kGridCells) s1 = wrapSub(wrapMul(4, difference), s0);
        slopeChange = wrapSub(s1, s0);
        excess = wrapSub(wrapSub(wrapMul(4, difference), s0), s1);
    }
};

/// The bulge of the horizontal curve at `within`: u (512 - u) / 512, 0 to 128.
inline int32_t cellBulge(int within) {
    return ((1 << kVirtStepShiftX) + within * (kVirtualCellWidth - within)) >> (kVirtStepShiftX + 1);
}

/// The displacement along one output row within one cell, at half the grid's scale.
struct CellCurve {
    int32_t start;  ///< at the left node
    int32_t difference;
    int32_t slopeChange;
    int32_t excess;

    /// With its intermediate values.
    struct Point {
        int32_t e;
        int32_t g;  ///< how far the curve is from its chord
        int32_t linear;
        int32_t displacement;
    };

    /// `within` is 0 to 512, `bulge` its cellBulge.
    Point at(int within, int32_t bulge) const {
        const auto e = narrow(hwround(int64_t{excess} * (kVirtualCellWidth - 2 * within), 9));
        const auto g = narrow(hwround(int64_t{wrapAdd(e, slopeChange)} * bulge, 11));
        const auto linear = narrow(hwround(int64_t{difference} * within, 9));
        return {e, g, linear, clampDisplacement(wrapSub(wrapAdd(start, linear), g))};
    }
    int32_t displacement(int within, int32_t bulge) const { return at(within, bulge).displacement; }
};

/// A third of factor x value / 2^shift. Only extreme grids need a division of 64 bits, which 32-bit
/// processors make by hand.
inline int32_t roundedThird(int32_t factor, int32_t value, int shift) {
    const int64_t rounded = hwround(int64_t{factor} * value, shift);
    return rounded == narrow(rounded) ? narrow(rounded) / 3 : narrow(rounded / 3);
}

/// A third of the bulge of the vertical curve at `within`: 0 to 96.
inline int32_t rowBulgeThird(int within) {
    return (((1 << kVirtStepShiftY) + within * (kVirtualCellHeight - within)) >> (kVirtStepShiftY + 1)) / 3;
}

/// The vertical curve of one node column at `within`, with its intermediate values.
struct RowNode {
    int32_t e;
    int32_t f;
    int32_t g;  ///< how far the curve is from its chord
    int32_t linear;
    int32_t value;  ///< at half the grid's scale

    RowNode(const HermiteCell& hermite, int32_t top, int within, int32_t bulgeThird)
        : e(roundedThird(kVirtualCellHeight - 2 * within, hermite.excess, 8)),
          f(wrapAdd(e, hermite.slopeChange >> 1)),
          g(roundedThird(bulgeThird, f, 9)),
          linear(roundedThird(within, hermite.difference, 8)),
          value(clampDisplacement(wrapSub(wrapAdd(linear, top >> 1), g))) {}
};

/// The nodes of one column around a cell: 0 beyond the grid.
struct NodeColumn {
    int32_t above;
    int32_t top;
    int32_t bottom;
    int32_t below;

    NodeColumn(const GdcGrid& grid, int cell, int column)
        : above(cell > 1 ? grid[cell - 2][column] : 0),
          top(grid[cell - 1][column]),
          bottom(grid[cell][column]),
          below(cell < kGridCells ? grid[cell + 1][column] : 0) {}

    HermiteCell hermite(int cell) const { return {above, top, bottom, below, cell}; }
};

/// An upper bound of all displacements' magnitudes along a row, if the products of every cell's curve fit 32
/// bits and nothing is left to clamp; else INT32_MAX. With D the largest step, |excess| <= 4 D and |excess| +
/// |slopeChange| <= 6 D; the curve leaves its chord by a sixteenth of that, and 2 for rounding.
inline int32_t displacementBound(const NodeBounds& nodes) {
    const int32_t step = nodes.largestStep;
    const int32_t reach = nodes.largest + step + step / 2 + 2;
    return step <= 4194303 / 4 && reach < 4194304 ? reach : INT32_MAX;
}

/// The grid along one output row: the vertical half of the interpolation, at half the grid's scale, for all
/// node columns. It depends on the row alone.
struct GridRow {
    int32_t value[kGridNodes];

    GridRow() = default;
    GridRow(const GdcGrid& grid, const VirtualPosition& y) {
        const int32_t bulgeThird = rowBulgeThird(y.within);
        for (int column = 0; column < kGridNodes; ++column) {
            const NodeColumn nodes(grid, y.cell, column);
            value[column] = RowNode(nodes.hermite(y.cell), nodes.top, y.within, bulgeThird).value;
        }
    }

    /// The horizontal half of the interpolation, in one cell.
    CellCurve curve(int cell) const {
        const int32_t left = value[cell - 1];
        const int32_t beforeLeft = cell > 1 ? value[cell - 2] : 0;
        const int32_t afterRight = cell < kGridCells ? value[cell + 1] : 0;
        const HermiteCell hermite(beforeLeft, left, value[cell], afterRight, cell);
        return {left, hermite.difference, hermite.slopeChange, hermite.excess};
    }

    NodeBounds bounds() const {
        NodeBounds found{std::abs(value[0]), 0};
        for (int i = 1; i < kGridNodes; ++i) {
            found.largest = std::max(found.largest, std::abs(value[i]));
            found.largestStep = std::max(found.largestStep, std::abs(value[i] - value[i - 1]));
        }
        return found;
    }

    /// The displacement at a virtual column, at half the grid's scale.
    int32_t displacement(const VirtualPosition& x) const {
        return curve(x.cell).displacement(x.within, cellBulge(x.within));
    }
};

/// A displacement along one axis, in 1/256 source sample.
inline int32_t sourceDisplacement(int32_t invScale, int mirror, int32_t displacement) {
    const auto samples = narrow(hwround(int64_t{invScale} * displacement, 13));
    return mirror ? wrapSub(0, samples) : samples;
}

/// Source coordinate, in 1/256 sample, of output column or row `position` that is not displaced.
inline int32_t undisplacedCoordinate(const GdcAxis& axis, int position) {
    return wrapMul(axis.outScale, wrapAdd(wrapMul(2, position), 1));
}

inline int32_t sourceCoordinate(const GdcAxis& axis, int position, int32_t displacement) {
    return wrapAdd(sourceDisplacement(axis.invScale, axis.mirror, displacement),
                   undisplacedCoordinate(axis, position));
}

}  // namespace vantor
