#include "geometry/dense_map.h"

#include <algorithm>
#include <cmath>
#include <string>

#include "geometry/error.h"

namespace vantor {
namespace {

/// The pixels on both sides of a position along an axis, and how far it is from the first. Beyond the
/// outermost pixels they are the outermost pair.
struct Neighbours {
    int first;
    int second;
    double fraction;

    Neighbours(double position, int size)
        : first(static_cast<int>(std::clamp(position, 0.0, std::max(size - 2, 0) * 1.0))),
          second(std::min(first + 1, size - 1)),
          fraction(position - first) {}
};

double blend(double from, double to, double fraction) {
    return from + (to - from) * fraction;
}

Point blend(Point from, Point to, double fraction) {
    return {blend(from.x, to.x, fraction), blend(from.y, to.y, fraction)};
}

}  // namespace

DenseMap::DenseMap(const float* x, const float* y, Size size) : x_(x), y_(y), size_(size) {
    for (size_t i = 0; i < size.pixels(); ++i) {
        if (std::isfinite(x[i]) && std::isfinite(y[i])) continue;
        const auto width = static_cast<size_t>(size.width);
        throw GeometryError("the map has no finite position for pixel (" + std::to_string(i % width) + ", " +
                            std::to_string(i / width) + ")");
    }
}

Point DenseMap::displacement(int column, int row) const {
    const size_t i =
        static_cast<size_t>(row) * static_cast<size_t>(size_.width) + static_cast<size_t>(column);
    return {double{x_[i]} - column, double{y_[i]} - row};
}

Point DenseMap::operator()(Point output) const {
    const Neighbours x(output.x - 0.5, size_.width);
    const Neighbours y(output.y - 0.5, size_.height);
    const auto inRow = [&](int row) {
        return blend(displacement(x.first, row), displacement(x.second, row), x.fraction);
    };
    const Point moved = blend(inRow(y.first), inRow(y.second), y.fraction);
    return {output.x + moved.x, output.y + moved.y};
}

}  // namespace vantor
