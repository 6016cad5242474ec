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

/// The same map, which throws a GeometryError where it leads farther than 10^12 pixels, or nowhere.
SourceMap finiteMap(SourceMap map);

/// The parts of a warp, in the order in which they lead from an output position to its source.
struct WarpParts {
    double rotate = 0;             ///< degrees, counter-clockwise as seen
    double zoom = 1;               ///< above 1 enlarges
    Point shear{0, 0};             ///< pixels to the right a pixel down, and down a pixel to the right
    Point shift{0, 0};             ///< pixels to the right and down
    std::array<double, 5> lens{};  ///< k1, k2, k3, p1, p2 of the lens whose distortion is taken out
    std::optional<Point> center;   ///< of all of it; the picture's middle if not given
};

/// A source map. Lens radii are in halves of the picture's diagonal.
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
/// included). Moves beyond the range of a node stop there.
Grid makeGrid(const SourceMap& map, Size frame);

/// Where a node stands in pictures of a size, how far it moves there, and where that leads, in pixels.
Point nodePlace(int row, int column, Size frame);
Point nodeMove(const Grid& grid, int row, int column, Size frame);
Point nodeSource(const Grid& grid, int row, int column, Size frame);

}  // namespace vantor
