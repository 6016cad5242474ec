// Affine matrices as clients give them.
#pragma once

#include <cstdint>

namespace vantor {

/// Three rows of three, from a, b (in 1/4096), c (in 1/32 pixel), d, e, f. All conversions are exact.
struct AffineMatrix {
    double values[9] = {0, 0, 0, 0, 0, 0, 0, 0, 1};

    explicit AffineMatrix(const int16_t* fixedPoint) {
        for (int i = 0; i < 6; ++i) values[i] = fixedPoint[i] / (i % 3 == 2 ? 32.0 : 4096.0);
    }
};

}  // namespace vantor
