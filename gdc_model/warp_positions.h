// Where the pixels of an output region come from, row by row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/warp_kernels.h"

namespace vantor {

/// Both grids along one output row.
struct GridRows {
    GridRow x;
    GridRow y;
    bool fitsVectors;  ///< positions have what vector kernels ask for
    bool isNarrow;     ///< as in WarpRun
};

/// What depends on the columns of a region alone: 4 bytes per column.
class WarpPositions {
public:
    explicit WarpPositions(const GdcFrame& frame);

    /// Whether there was memory for the columns; if not, nothing else may be called.
    bool isReady() const { return within_ && bulge_ && cells_; }

    GridRows row(const GdcGrid& gridX, const GdcGrid& gridY, int outRow) const;

    /// Source coordinates, in 1/256 sample, of `count` pixels of an output row. The arrays hold whole
    /// multiples of kWarpLanes, and kWarpLanes more.
    void compute(const WarpKernels& kernels, const GridRows& grids, int outRow, int first, int count,
                 int32_t* x, int32_t* y) const;

private:
    /// Columns that follow each other in one cell.
    struct CellColumns {
        int cell;
        int first;  ///< counted from the region's first column
        int end;
    };

    const GdcFrame& frame_;
    bool fitsVectors_;
    std::unique_ptr<int16_t[]> within_;
    std::unique_ptr<int16_t[]> bulge_;
    std::unique_ptr<CellColumns[]> cells_;
    size_t cellCount_;
};

}  // namespace vantor
