// What can be said of a grid without looking at a picture.
#pragma once

#include "tools/vantor/warp_map.h"

namespace vantor::tool {

struct GridReport {
    Point leastMove;  ///< of the nodes, in pixels
    Point largestMove;
    int nodesBeyondRange;  ///< whose half value the engine cannot hold
    int foldedCells;       ///< of 1024: turned over or without area in a corner
    double outside;        ///< share of the output whose source lies outside the picture, 0 to 1
};

GridReport examine(const Grid& grid, Size frame);

}  // namespace vantor::tool
