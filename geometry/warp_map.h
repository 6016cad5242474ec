// Warps that users describe, as maps in double precision and as grids.
#pragma once

#include <array>
#include <functional>
#include <optional>

#include "gdc_model/grid.h"
#include "geometry/lens.h"
#include "geometry/size.h"

namespace vantor {

/// From output positions to source positions.
using SourceMap = std::function<Point(Point)>;

/// The same map, which throws a GeometryError where a coordinate is not finite or exceeds 10^12 pixels.
SourceMap finiteMap(SourceMap map);

/// The parts of a warp, in the order in which they lead from an output position to its source.
struct WarpParts {
    double rotate = 0;             ///< degrees, counter-clockwise as seen
    double zoom = 1;               ///< above 1 enlarges
    Point shear{0, 0};             ///< pixels right per pixel down, and down per pixel right
    Point shift{0, 0};             ///< pixels to the right and down
    std::array<double, 5> lens{};  ///< k1, k2, k3, p1, p2 of the lens whose distortion is taken out
    std::optional<Point> center;   ///< of the transform; the picture's centre if not given
};

/// A source map. Lens radii are in units of half the picture's diagonal.
class WarpMap {
public:
    WarpMap(const WarpParts& parts, Size picture);

    Point operator()(Point output) const;

private:
    WarpParts parts_;
    Lens lens_;
    Point center_;
    double radius_;
    double cosine_;
    double sine_;
};

/// The map at the nodes of a grid for pictures of `frame`'s size (the size that the library gets, padding
/// included). Displacements beyond the range of a node are clamped to it.
Grid makeGrid(const SourceMap& map, Size frame);

/// A node's position in pictures of a size, its displacement there, and the source position that both give,
/// in pixels.
Point nodePosition(int row, int column, Size frame);
Point nodeDisplacement(const Grid& grid, int row, int column, Size frame);
Point nodeSource(const Grid& grid, int row, int column, Size frame);

}  // namespace vantor
