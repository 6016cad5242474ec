// Where the engine takes pixels from, by its own kernels.
#pragma once

#include <cstdint>
#include <vector>

#include "gdc_model/grid_interp.h"
#include "gdc_model/warp_positions.h"
#include "geometry/size.h"

namespace vantor {

/// The positions of a picture, row by row, in 1/256 pixel; the left upper corner is at 0, 0.
class SourceRows {
public:
    /// For pictures of `picture`'s size, warped as pictures of `frame`'s.
    SourceRows(const Grid& grid, Size frame, Size picture);

    void compute(int row);

    /// Of the row that was computed last.
    const int32_t* x() const { return x_; }
    const int32_t* y() const { return y_; }

private:
    int columns_;
    GdcFrame frame_;
    GridTables grids_;
    std::vector<int32_t> memory_;
    WarpPositions positions_;
    int32_t* x_;
    int32_t* y_;
};

}  // namespace vantor
