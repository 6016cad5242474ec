// Maps that are given pixel by pixel.
#pragma once

#include "geometry/point.h"
#include "geometry/size.h"

namespace vantor {

/// For each pixel of a picture the position that it comes from, row by row, in pixels; the centre of the
/// first pixel is at 0, 0 there. Elsewhere the map is bilinear between pixels, and goes on straight beyond
/// the outermost ones. The arrays outlive the object.
class DenseMap {
public:
    /// Throws a GeometryError that names the first position that is not finite.
    DenseMap(const float* x, const float* y, Size size);

    /// From output positions to source positions.
    Point operator()(Point output) const;

private:
    /// How far pixels are displaced.
    Point displacement(int column, int row) const;

    const float* x_;
    const float* y_;
    Size size_;
};

}  // namespace vantor
