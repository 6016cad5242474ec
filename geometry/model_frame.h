// The model's own steps, called one by one for whole pictures.
#pragma once

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/source_samples.h"
#include "geometry/warp_map.h"

namespace vantor {

/// The parameters of a whole-picture warp.
inline GdcFrame modelFrame(Size size) {
    return requestFrame(size.width, size.height, {0, 0, size.width - 1, size.height - 1});
}

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

}  // namespace vantor
