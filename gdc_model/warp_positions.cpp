#include "gdc_model/warp_positions.h"

#include <algorithm>

#include "gdc_model/zeroed.h"

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

/// How often a region's columns enter a cell.
size_t countCells(const GdcAxis& axis) {
    size_t count = 0;
    int last = 0;
    for (int i = 0; i < axis.outCropSize; ++i) {
        const int cell = columnPosition(axis, i).cell;
        count += i == 0 || cell != last;
        last = cell;
    }
    return count;
}

}  // namespace

WarpPositions::WarpPositions(const GdcFrame& frame)
    : frame_(frame),
      fitsVectors_(fitsVectors(frame.x) && fitsVectors(frame.y)),
      within_(zeroedIfPossible<int16_t>(static_cast<size_t>(frame.x.outCropSize) + kWarpLanes)),
      bulge_(zeroedIfPossible<int16_t>(static_cast<size_t>(frame.x.outCropSize) + kWarpLanes)),
      cells_(zeroedIfPossible<CellColumns>(countCells(frame.x))),
      cellCount_(0) {
    if (!isReady()) return;
    for (int i = 0; i < frame.x.outCropSize; ++i) {
        const VirtualPosition at = columnPosition(frame.x, i);
        within_[static_cast<size_t>(i)] = static_cast<int16_t>(at.within);
        bulge_[static_cast<size_t>(i)] = static_cast<int16_t>(cellBulge(at.within));
        if (cellCount_ == 0 || cells_[cellCount_ - 1].cell != at.cell) cells_[cellCount_++] = {at.cell, i, i};
        ++cells_[cellCount_ - 1].end;
    }
}

GridRows WarpPositions::row(const GdcGrid& gridX, const GdcGrid& gridY, int outRow) const {
    const VirtualPosition at =
        virtualPosition(frame_.y, wrapAdd(frame_.y.outCropStart, outRow), kVirtualCellHeight);
    GridRows rows{GridRow(gridX, at), GridRow(gridY, at), false, false};
    const int32_t bound = std::max(rows.x.bound(), rows.y.bound());
    const int32_t step = std::max(rows.x.largestStep(), rows.y.largestStep());
    rows.fitsVectors = fitsVectors_ && bound < INT32_MAX;
    rows.isNarrow = bound <= INT16_MAX && step <= INT16_MAX / 16 && frame_.x.invScale <= INT16_MAX / 4 &&
                    frame_.y.invScale <= INT16_MAX / 4;
    return rows;
}

void WarpPositions::compute(const WarpKernels& kernels, const GridRows& grids, int outRow, int first,
                            int count, int32_t* x, int32_t* y) const {
    const int end = first + count;
    const auto positions = (grids.fitsVectors ? kernels : kWarpPlain).positions;
    const auto line = [](const GridRow& grid, int cell, const GdcAxis& axis, int32_t base, int32_t step) {
        const CellCurve curve = grid.curve(cell);
        return WarpLine{
            curve.start, curve.difference, curve.slopeChange, curve.excess, axis.invScale, axis.mirror, base,
            step};
    };
    const int32_t undisplacedY = undisplacedAt(frame_.y, outRow);
    const int32_t stepX = wrapMul(2, frame_.x.outScale);
    auto* cell = std::upper_bound(cells_.get(), cells_.get() + cellCount_, first,
                                  [](int column, const CellColumns& c) { return column < c.end; });
    for (int i = first; i < end; ++cell) {
        const int columns = std::min(cell->end, end) - i;
        positions({&within_[static_cast<size_t>(i)], &bulge_[static_cast<size_t>(i)], columns, grids.isNarrow,
                   line(grids.x, cell->cell, frame_.x, undisplacedAt(frame_.x, i), stepX),
                   line(grids.y, cell->cell, frame_.y, undisplacedY, 0)},
                  x + (i - first), y + (i - first));
        i += columns;
    }
}

}  // namespace vantor
