#include "geometry/warp_map.h"

#include <cmath>
#include <cstdio>
#include <utility>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/grid_interp.h"
#include "geometry/error.h"

namespace vantor {
namespace {

/// Node values of one pixel. The engine halves a value, multiplies it by invScale / 8192 and takes 1/256
/// pixel.
double unitsPerPixel(const GdcScales& scales) {
    return 256.0 * 16384 / scales.invScale;
}

int32_t nodeValue(double pixels, const GdcScales& scales) {
    return saturateToInt(std::round(pixels * unitsPerPixel(scales)));
}

Lens lensOf(const WarpParts& parts) {
    const auto [k1, k2, k3, p1, p2] = parts.lens;
    return {{k1, k2, p1, p2, k3}};
}

}  // namespace

SourceMap finiteMap(SourceMap map) {
    return [map = std::move(map)](Point output) {
        constexpr double kMaxDistance = 1e12;
        const Point source = map(output);
        if (std::abs(source.x) <= kMaxDistance && std::abs(source.y) <= kMaxDistance) return source;
        char text[200];
        std::snprintf(text, sizeof text,
                      "the source of (%g, %g) is (%g, %g): expected finite positions within %g pixels",
                      output.x, output.y, source.x, source.y, kMaxDistance);
        throw GeometryError(text);
    };
}

WarpMap::WarpMap(const WarpParts& parts, Size picture)
    : parts_(parts),
      lens_{lensOf(parts)},
      center_(parts.center.value_or(Point{picture.width / 2.0, picture.height / 2.0})),
      radius_(length({picture.width * 1.0, picture.height * 1.0}) / 2),
      cosine_(std::cos(parts.rotate * std::acos(-1.0) / 180)),
      sine_(std::sin(parts.rotate * std::acos(-1.0) / 180)) {}

Point WarpMap::operator()(Point output) const {
    const Point p{output.x - center_.x, output.y - center_.y};
    const Point turned{(cosine_ * p.x - sine_ * p.y) / parts_.zoom,
                       (sine_ * p.x + cosine_ * p.y) / parts_.zoom};
    const double determinant = 1 - parts_.shear.x * parts_.shear.y;
    const Point straight{(turned.x - parts_.shear.x * turned.y) / determinant,
                         (turned.y - parts_.shear.y * turned.x) / determinant};
    const Point bent =
        distorted(lens_, {(straight.x - parts_.shift.x) / radius_, (straight.y - parts_.shift.y) / radius_});
    return {center_.x + radius_ * bent.x, center_.y + radius_ * bent.y};
}

Grid makeGrid(const SourceMap& map, Size frame) {
    const GdcScales scalesX = gdcScalesX(frame.width);
    const GdcScales scalesY = gdcScalesY(frame.height);
    Grid grid;
    for (int row = 0; row < kGridNodes; ++row) {
        for (int column = 0; column < kGridNodes; ++column) {
            const Point node = nodePosition(row, column, frame);
            const Point source = map(node);
            const int index = row * kGridNodes + column;
            grid.dX[index] = nodeValue(source.x - node.x, scalesX);
            grid.dY[index] = nodeValue(source.y - node.y, scalesY);
        }
    }
    return grid;
}

Point nodePosition(int row, int column, Size frame) {
    return {frame.width * column / 32.0, frame.height * row / 32.0};
}

Point nodeDisplacement(const Grid& grid, int row, int column, Size frame) {
    const int index = row * kGridNodes + column;
    return {grid.dX[index] / unitsPerPixel(gdcScalesX(frame.width)),
            grid.dY[index] / unitsPerPixel(gdcScalesY(frame.height))};
}

Point nodeSource(const Grid& grid, int row, int column, Size frame) {
    const Point position = nodePosition(row, column, frame);
    const Point displacement = nodeDisplacement(grid, row, column, frame);
    return {position.x + displacement.x, position.y + displacement.y};
}

}  // namespace vantor
