// The entries of calibration files: YAML, XML, and COLMAP's lists of cameras.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace vantor::tool {

/// The value of an entry: a scalar is one word, a matrix one word per element.
using Words = std::vector<std::string>;
using Entries = std::map<std::string, Words>;

/// Usual names of one thing, first as OpenCV's own programs write it; compared without case and punctuation.
inline const Words kCameraNames{"camera_matrix", "K", "M", "mtx", "intrinsic_matrix", "intrinsics"};
inline const Words kDistortionNames{
    "distortion_coefficients", "dist_coeffs", "dist_coeff", "distortion_coeffs", "D", "dist", "distortion"};
inline const Words kRectificationNames{"rectification_matrix", "R"};
inline const Words kProjectionNames{"projection_matrix", "P"};
inline const Words kWidthNames{"image_width", "width"};
inline const Words kHeightNames{"image_height", "height"};
inline const Words kSizeNames{"image_size", "img_size", "resolution"};
inline const Words kFisheyeNames{"fisheye_model", "fisheye"};
inline const Words kModelNames{"distortion_model"};
inline const Words kCameraModelNames{"camera_model"};

/// Names without case and punctuation.
std::string plainName(const std::string& name);

/// The entries of one camera by their usual names; what is wrong with them is an error that names file, entry
/// and value.
class CalibrationText {
public:
    /// Of the camera with the name `camera`; without one, of the only one. A file of `extrinsics` adds its
    /// entries, unless the path is empty.
    CalibrationText(const std::string& path, const std::string& extrinsics, const std::string& camera);

    /// Null if there is none.
    const Words* find(const Words& names) const;
    std::vector<double> numbers(const Words& names) const;

    [[noreturn]] void fail(const std::string& problem, const Words& names) const;

    /// What an error or a note begins with: the file, and the camera if it has a name.
    const std::string& name() const { return name_; }
    bool isOfPair() const { return isOfPair_; }
    /// Where the centre of the first pixel is.
    double firstCentre() const { return firstCentre_; }

private:
    std::string name_;
    Entries entries_;
    bool isOfPair_ = false;
    double firstCentre_ = 0;
};

}  // namespace vantor::tool
