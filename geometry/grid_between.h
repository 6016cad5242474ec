// Grids between two grids.
#pragma once

#include <cstdint>

#include "gdc_model/grid.h"

namespace vantor {

/// The grid that is `step` of `steps` equal steps from one to the other, at most 2^24 of them: each node is
/// interpolated linearly and rounded to the nearest integer, halves up.
Grid gridBetween(const Grid& from, const Grid& to, int64_t step, int64_t steps);

}  // namespace vantor
