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

}  // namespace vantor
