// The sizes and grids that are measured.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "bench/picture.h"
#include "geometry/warp_map.h"

namespace vantor::bench {

struct ScaleCase {
    std::string name;
    Size src;
    Size dst;
};

struct WarpCase {
    std::string name;
    Size size;
    std::function<Grid(Size)> makeGrid;
};

std::vector<ScaleCase> scaleCases();
std::vector<WarpCase> warpCases();

/// Sizes over four orders of magnitude, for growth with size: this library alone is measured with them.
std::vector<ScaleCase> scaleSweep();
std::vector<WarpCase> warpSweep();

}  // namespace vantor::bench
