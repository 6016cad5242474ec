// Grids of affine matrices.
#pragma once

#include <cstdint>

#include "gdc_model/grid.h"

namespace vantor {

/// As clients give it: three rows of three, from a, b (in 1/4096), c (in 1/32 pixel), d, e, f. All
/// conversions are exact.
struct AffineMatrix {
    double values[9] = {0, 0, 0, 0, 0, 0, 0, 0, 1};

    explicit AffineMatrix(const int16_t* fixedPoint) {
        for (int i = 0; i < 6; ++i) values[i] = fixedPoint[i] / (i % 3 == 2 ? 32.0 : 4096.0);
    }
};

/// The grid of an affine map as getGridSet describes it, of nine doubles.
Grid gridFromMatrix(const double* matrix, int width, int height, bool isClamped);

}  // namespace vantor
