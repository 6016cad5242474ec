// What a grid does, without looking at a picture.
#pragma once

#include <bitset>
#include <cstdint>

#include "geometry/warp_map.h"

namespace vantor {

/// Whether the engine cannot hold half of a node's value.
bool isBeyondRange(int32_t value);

/// Row by row: cells that are turned over or without area in a corner.
std::bitset<kGridCells * kGridCells> foldedCells(const Grid& grid, Size frame);

/// What the nodes alone tell.
struct NodeReport {
    Point minDisplacement;  ///< of the nodes, in pixels
    Point maxDisplacement;
    int nodesBeyondRange;  ///< whose half value the engine cannot hold
    int foldedCells;       ///< of 1024

    bool isFaulty() const { return foldedCells != 0 || nodesBeyondRange != 0; }
};

NodeReport examineNodes(const Grid& grid, Size frame);

struct GridReport : NodeReport {
    double outside;  ///< share of the output whose source lies outside the picture, 0 to 1
};

GridReport examine(const Grid& grid, Size frame);

/// The largest distance between the sources of a node in two grids, in pixels.
double largestChange(const Grid& before, const Grid& after, Size frame);

/// How far the positions that the model makes of a grid are from those of the map that the grid was made
/// from, in pixels.
struct GridError {
    size_t pixels = 0;  ///< how many
    double largest = 0;
    int largestX = 0;  ///< the pixel where it is
    int largestY = 0;
    double rms = 0;
    size_t beyondHalf = 0;  ///< pixels that are off by more than half a pixel
};

/// The output pixels that count: those which the map takes from inside the picture, or those too which the
/// grid takes from there.
enum class Counted { InsideByMap, InsideByEither };

/// For pictures of `picture`'s size, warped as pictures of `frame`'s.
GridError measureError(const Grid& grid, const SourceMap& map, Size picture, Size frame,
                       Counted counted = Counted::InsideByEither);

}  // namespace vantor
