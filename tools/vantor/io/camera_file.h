// Cameras, as files that the programs which calibrate them read.
#pragma once

#include <string>

#include "geometry/undistort_map.h"

namespace vantor::tool {

/// Writes the calibration of straight pictures, without distortion, as JSON that cv::FileStorage reads.
void writeCamera(const std::string& path, const Camera& camera, Size size);

}  // namespace vantor::tool
