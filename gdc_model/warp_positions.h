// Where the pixels of an output region come from, row by row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/warp_kernels.h"

namespace vantor {

constexpr int kLevelStep = 4;

/// Both grids along one output row.
struct GridRows {
    GridRow x;
    GridRow y;
    bool fitsVectors;  ///< positions have what vector kernels ask for
    bool isSteep;      ///< leaves more than kLevelStep source rows between two nodes
};

/// What depends on the columns of a region alone.
class WarpPositions {
public:
    /// How much memory the positions of a frame take: 12 bytes per column, and 128.
    static size_t workingWords(const GdcFrame& frame);

    /// Both outlive the object.
    WarpPositions(const GdcFrame& frame, int32_t* memory);

    GridRows row(const WarpKernels& kernels, const GridTables& grids, int outRow) const;

    /// Source coordinates, in 1/256 sample, of `count` pixels of an output row. The arrays hold whole
    /// multiples of kWarpLanes, and kWarpLanes more.
    void compute(const WarpKernels& kernels, const GridRows& grids, int outRow, int first, int count,
                 int32_t* x, int32_t* y) const;

private:
    const GdcFrame& frame_;
    bool fitsVectors_;
    int16_t* within_;
    int16_t* bulge_;
    WarpCell* cells_;
    size_t cellCount_ = 0;
};

}  // namespace vantor
