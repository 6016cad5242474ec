// The callers' grids and the model's, which hold the same nodes.
#pragma once

#include <algorithm>
#include <iterator>

#include "gdc_model/grid.h"
#include "vantor/vantor.h"

namespace vantor::c {

static_assert(VANTOR_GRID_NODES == kGridNodes * kGridNodes);

inline Grid gridOf(const vantor_grid& grid) {
    Grid nodes;
    std::copy(std::begin(grid.dx), std::end(grid.dx), nodes.dX);
    std::copy(std::begin(grid.dy), std::end(grid.dy), nodes.dY);
    return nodes;
}

inline void store(const Grid& nodes, vantor_grid& grid) {
    std::copy(std::begin(nodes.dX), std::end(nodes.dX), grid.dx);
    std::copy(std::begin(nodes.dY), std::end(nodes.dY), grid.dy);
}

}  // namespace vantor::c
