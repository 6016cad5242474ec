// Pictures of grids.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/warp_map.h"

namespace vantor::tool {

/// A PNG with axes in pixels of the picture: its outline, the mesh of 32 x 32 cells, each node drawn where it
/// takes its pixels from, and arrows that lead there from the nodes' positions. Displacements are multiplied
/// by `exaggeration`. `title` is the heading.
std::vector<uint8_t> plotGrid(const Grid& grid, Size frame, double exaggeration, const std::string& title);

}  // namespace vantor::tool
