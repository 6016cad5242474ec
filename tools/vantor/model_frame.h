// The model's own steps, as the tool walks them for whole pictures.
#pragma once

#include <algorithm>

#include "gdc_model/gdc_run.h"
#include "gdc_model/gdc_scales.h"
#include "tools/vantor/warp_map.h"

namespace vantor::tool {

/// The parameters of a whole-picture warp, as the library sets them.
inline GdcFrame modelFrame(Size size) {
    const GdcScales x = gdcScalesX(size.width);
    const GdcScales y = gdcScalesY(size.height);
    GdcFrame frame{};
    frame.x = {
        size.width, x.shifter, std::min(x.scale, kLargestScale), x.invScale, kOutScaleOne, 0, size.width,
        0,          0};
    frame.y = {
        size.height, y.shifter, std::min(y.scale, kLargestScale), y.invScale, kOutScaleOne, 0, size.height,
        0,           0};
    return frame;
}

/// A grid as rows of nodes.
struct GridTables {
    GdcGrid x;
    GdcGrid y;

    explicit GridTables(const Grid& grid) {
        std::copy(std::begin(grid.dX), std::end(grid.dX), &x[0][0]);
        std::copy(std::begin(grid.dY), std::end(grid.dY), &y[0][0]);
    }
};

/// Both grids along one output row.
struct GridLines {
    GridRow x;
    GridRow y;

    GridLines(const GridTables& tables, const GdcFrame& frame, int row)
        : x(tables.x, virtualPosition(frame.y, row, kVirtualCellHeight)),
          y(tables.y, virtualPosition(frame.y, row, kVirtualCellHeight)) {}

    PixelSource source(const GdcFrame& frame, int column, int row) const {
        const VirtualPosition at = virtualPosition(frame.x, column, kVirtualCellWidth);
        return pixelSource(frame, sourceCoordinate(frame.x, column, x.displacement(at)),
                           sourceCoordinate(frame.y, row, y.displacement(at)));
    }
};

}  // namespace vantor::tool
