// Positions in pictures and on planes.
#pragma once

#include <cmath>

namespace vantor {

/// In pixels, unless said otherwise; pixel (i, j) covers i to i + 1 and j to j + 1, so its centre is at i +
/// 0.5, j + 0.5.
struct Point {
    double x;
    double y;
};

/// Of the line from 0, 0. The root is exact everywhere, hypot is not.
inline double length(Point p) {
    return std::sqrt(p.x * p.x + p.y * p.y);
}

}  // namespace vantor
