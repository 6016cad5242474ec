#include "gdc_model/warp_positions.h"

#include <algorithm>
#include <new>

namespace vantor {
namespace {

bool fitsVectors(const GdcAxis& axis) {
    return axis.mirror == 0 && axis.invScale >= 0 && axis.invScale <= kMaxVectorScale;
}

int32_t undisplacedAt(const GdcAxis& axis, int index) {
    return undisplacedCoordinate(axis, wrapAdd(axis.outCropStart, index));
}

VirtualPosition columnPosition(const GdcAxis& axis, int column) {
    return virtualPosition(axis, wrapAdd(axis.outCropStart, column), kVirtualCellWidth);
}

/// As in WarpRun, of a curve that fits vectors.
bool isNarrow(const CellCurve& curve) {
    const int32_t excess = std::abs(curve.excess);
    return std::abs(curve.difference) < 1 << 14 && excess < 1 << 13 &&
           excess + std::abs(curve.slopeChange) < 1 << 15;
}

/// Columns of a region, and those up to which vector kernels read.
size_t paddedColumns(const GdcFrame& frame) {
    return static_cast<size_t>(frame.x.outCropSize) + kWarpLanes;
}

}  // namespace

size_t WarpPositions::workingWords(const GdcFrame& frame) {
    static_assert(sizeof(WarpCell) == 2 * sizeof(int32_t));
    // Two arrays of 16 bits.
    return paddedColumns(frame) + 2 * static_cast<size_t>(frame.x.outCropSize);
}

WarpPositions::WarpPositions(const GdcFrame& frame, int32_t* memory)
    : frame_(frame),
      fitsVectors_(fitsVectors(frame.x) && fitsVectors(frame.y)),
      within_(reinterpret_cast<int16_t*>(memory)),
      bulge_(within_ + paddedColumns(frame)),
      cells_(reinterpret_cast<WarpCell*>(memory + paddedColumns(frame))) {
    const int columns = frame.x.outCropSize;
    for (int i = 0; i < columns; ++i) {
        const VirtualPosition at = columnPosition(frame.x, i);
        within_[i] = static_cast<int16_t>(at.within);
        bulge_[i] = static_cast<int16_t>(cellBulge(at.within));
        if (cellCount_ == 0 || cells_[cellCount_ - 1].cell != at.cell)
            new (&cells_[cellCount_++]) WarpCell{at.cell, i};
        ++cells_[cellCount_ - 1].end;
    }
    std::fill_n(within_ + columns, kWarpLanes, int16_t{0});
    std::fill_n(bulge_ + columns, kWarpLanes, int16_t{0});
}

GridRows WarpPositions::row(const WarpKernels& kernels, const GridTables& grids, int outRow) const {
    const VirtualPosition at =
        virtualPosition(frame_.y, wrapAdd(frame_.y.outCropStart, outRow), kVirtualCellHeight);
    const auto nodes = (grids.fitsVectors ? kernels : kWarpPlain).nodes;
    GridRows rows;
    const NodeBounds x = nodes(grids.x, at.cell, at.within, rows.x.value);
    const NodeBounds y = nodes(grids.y, at.cell, at.within, rows.y.value);
    rows.fitsVectors = fitsVectors_ && std::max(displacementBound(x), displacementBound(y)) < INT32_MAX;
    rows.isSteep = std::abs(sourceDisplacement(frame_.y.invScale, 0, y.largestStep)) > kLevelStep * 256;
    return rows;
}

void WarpPositions::compute(const WarpKernels& kernels, const GridRows& grids, int outRow, int first,
                            int count, int32_t* x, int32_t* y) const {
    const int32_t undisplacedY = undisplacedAt(frame_.y, outRow);
    const int32_t stepX = wrapMul(2, frame_.x.outScale);
    const auto* cell = std::upper_bound(cells_, cells_ + cellCount_, first,
                                        [](int column, const WarpCell& c) { return column < c.end; });
    if (grids.fitsVectors && kernels.rowPositions) {
        kernels.rowPositions({within_ + first, bulge_ + first, cell, first, count},
                             {grids.x.value, frame_.x.invScale, undisplacedAt(frame_.x, first), stepX},
                             {grids.y.value, frame_.y.invScale, undisplacedY, 0}, x, y);
        return;
    }
    const int end = first + count;
    const auto positions = (grids.fitsVectors ? kernels : kWarpPlain).positions;
    const auto line = [](const CellCurve& curve, const GdcAxis& axis, int32_t base, int32_t step) {
        return WarpLine{
            curve.start, curve.difference, curve.slopeChange, curve.excess, axis.invScale, axis.mirror, base,
            step};
    };
    for (int i = first; i < end; ++cell) {
        const int columns = std::min(cell->end, end) - i;
        const CellCurve curveX = grids.x.curve(cell->cell);
        const CellCurve curveY = grids.y.curve(cell->cell);
        positions(
            {within_ + i, bulge_ + i, columns, grids.fitsVectors && isNarrow(curveX) && isNarrow(curveY),
             line(curveX, frame_.x, undisplacedAt(frame_.x, i), stepX),
             line(curveY, frame_.y, undisplacedY, 0)},
            x + (i - first), y + (i - first));
        i += columns;
    }
}

}  // namespace vantor
