// A grid of displacements, as clients give it.
#pragma once

#include <cstdint>

namespace vantor {

constexpr int kGridNodes = 33;  ///< in a row, and in a column
constexpr int kGridCells = kGridNodes - 1;

using GdcGrid = int[kGridNodes][kGridNodes];

/// Displacements of the nodes, row by row, in the grid's units.
struct Grid {
    int32_t dX[kGridNodes * kGridNodes];  ///< to the right
    int32_t dY[kGridNodes * kGridNodes];  ///< down
};

/// Of values that follow each other along a row of nodes.
struct NodeBounds {
    int32_t largest;      ///< magnitude
    int32_t largestStep;  ///< magnitude of the difference of two neighbours
};

}  // namespace vantor
