// Camera calibrations, as OpenCV, ROS, Kalibr and COLMAP write them.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "geometry/undistort_map.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {

/// Gets what the user may not expect of a file.
using Note = std::function<void(const std::string& text)>;

/// What the user's options add to a calibration file.
struct CalibrationHints {
    bool isFisheye = false;    ///< even if the file does not declare it
    std::optional<Size> size;  ///< of the pictures it was made with; overrides the file
    std::string camera{};      ///< which one of several: 1 or left, 2 or right, cam0, or COLMAP's number
    std::string extrinsics{};  ///< a second file of a pair of cameras, with R1, P1, R2 and P2
    Note note = tool::note;
};

/// Reads YAML or XML: a 3 x 3 camera matrix or fx, fy, cx, cy; 4, 5, 8 or 12 distortion coefficients (or 14
/// without tilt; 4 for a fisheye); the size of the pictures; and a rectification and a projection matrix, if
/// there are any, each under one of its usual names. In files the centre of the first pixel is at 0, 0. Reads
/// COLMAP's cameras.txt as well, where it is at 0.5, 0.5.
Calibration readCalibration(const std::string& path, const CalibrationHints& hints);

/// Pictures of another aspect ratio may have been cropped instead, which their size cannot tell.
void noteShape(const std::string& file, const Calibration& calibration, Size picture,
               const Note& give = note);

}  // namespace vantor::tool
