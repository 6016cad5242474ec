// The maps that callers describe by numbers.
#pragma once

#include "geometry/undistort_map.h"
#include "geometry/warp_map.h"
#include "vantor/vantor.h"

namespace vantor::c {

/// Throw a Failure that names the member which is out of range.
WarpMap transformMap(const vantor_transform& transform, Size picture);

/// Null for `rotation` (3 x 3) and `projection` (3 x 4): those of the calibration alone.
UndistortMap undistortMap(const vantor_calibration& numbers, const double* rotation, const double* projection,
                          Size picture);

}  // namespace vantor::c
