// HTML viewers of pictures and a grid.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "geometry/warp_map.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

struct ViewedPicture {
    std::string name;
    Picture picture;
};

struct ViewedGrid {
    std::string name;
    Grid grid;
    Size frame;
};

/// One self-contained HTML file: one picture or two of one size, as PNG, with the samples of their
/// own format; and a grid's mesh and arrows as paths in pixels.
std::vector<uint8_t> viewPage(const std::vector<ViewedPicture>& pictures,
                              const std::optional<ViewedGrid>& grid);

}  // namespace vantor::tool
