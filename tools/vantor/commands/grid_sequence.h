// What vantor grid does with a grid per frame.
#pragma once

#include <string>

#include "tools/vantor/io/grid_sequence.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// Reports on each grid, for pictures of `frame`'s size, and writes all to `output`, unless it is empty, as
/// binary grids behind each other. Whether one has folded cells or values beyond the engine's range.
bool showSequence(GridSequence& grids, Size frame, const std::string& output, bool isJson);

}  // namespace vantor::tool
