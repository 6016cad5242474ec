// Grid files, in two forms that hold the same numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "gdc_model/grid.h"

namespace vantor::tool {

/// Reads either form. The binary form has 8712 bytes: dX, then dY, little-endian.
Grid readGrid(const std::string& path);

/// The text form for a name ending in .txt: a line "dX", 33 rows of 33 numbers, a line "dY", 33 more; "#"
/// begins a comment. The binary form for every other name. Written atomically.
void writeGrid(const std::string& path, const Grid& grid, const std::string& comment);

}  // namespace vantor::tool
