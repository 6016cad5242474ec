// Positions in pictures and on planes.
#pragma once

namespace vantor {

/// In pixels, unless said otherwise; pixel (i, j) covers i to i + 1 and j to j + 1, so its centre is at i +
/// 0.5, j + 0.5.
struct Point {
    double x;
    double y;
};

}  // namespace vantor
