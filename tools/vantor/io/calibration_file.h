// Camera calibrations, as OpenCV's FileStorage and those who follow it write them.
#pragma once

#include <optional>
#include <string>

#include "geometry/undistort_map.h"

namespace vantor::tool {

/// What the user's options add to a calibration file.
struct CalibrationHints {
    bool isFisheye = false;    ///< even if the file does not declare it
    std::optional<Size> size;  ///< of the pictures it was made with; overrides the file
};

/// Reads YAML or XML: a 3 x 3 camera matrix, 4, 5, 8 or 12 distortion coefficients (or 14 without tilt; 4 for
/// a fisheye), and the size of the pictures, each under one of its usual names. In files the centre of the
/// first pixel is at 0, 0.
Calibration readCalibration(const std::string& path, const CalibrationHints& hints);

}  // namespace vantor::tool
