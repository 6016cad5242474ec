// The map that straightens, and turns, the pictures of a calibrated camera.
#pragma once

#include <array>
#include <optional>

#include "geometry/lens.h"
#include "geometry/size.h"

namespace vantor {

/// Focal lengths and principal point, in pixels.
struct Camera {
    double fx;
    double fy;
    double cx;
    double cy;
    double skew = 0;

    Point seen(Point onPlane) const { return {fx * onPlane.x + skew * onPlane.y + cx, fy * onPlane.y + cy}; }
    Point onPlane(Point seenAt) const {
        const double y = (seenAt.y - cy) / fy;
        return {(seenAt.x - cx - skew * y) / fx, y};
    }
};

/// Of directions, row by row.
using Rotation = std::array<double, 9>;

struct Calibration {
    Size size;  ///< of the pictures it was made with
    Camera camera;
    Lens lens;
    Rotation rotation{1, 0, 0, 0, 1, 0, 0, 0, 1};  ///< from before the camera to before the straight picture
    std::optional<Camera> straightCamera{};        ///< of the straight picture, if not the same
};

/// Of a camera matrix as calibrations list it, row by row, for which the centre of the first pixel is at 0,
/// 0. Throws a GeometryError where it is none.
Camera cameraOf(const std::array<double, 9>& matrix);

/// Of a projection matrix of 3 x 4 numbers, whose last column does not move pictures, or of 3 x 3. Throws a
/// GeometryError where it is none.
Camera projectionOf(const double* matrix, size_t count);

/// Throws a GeometryError where the 9 numbers turn nothing.
Rotation rotationOf(const double* matrix, size_t count);

/// Of 4, 5, 8, 12 or 14 distortion coefficients, the last two of 14 being 0; of 4 for a fisheye. Throws a
/// GeometryError where they are not.
Lens lensOf(const double* coefficients, size_t count, bool isFisheye);

/// Where the ray through a position on the plane at distance 1 meets that plane after a rotation; not finite
/// if it leads away from it.
Point turned(const Rotation& rotation, Point onPlane);

/// From positions in a straight picture to those in the camera's, of one size.
class UndistortMap {
public:
    /// For pictures of a size: the cameras are scaled to it, across and down. Without `alpha` the straight
    /// picture has the calibration's straight camera, or else its camera. `alpha` 0: it shows only what the
    /// camera's picture has, as large as can be; 1: all that it has; between: a blend of both camera
    /// matrices. A fisheye's straight picture keeps its pixel aspect ratio. Throws a GeometryError where
    /// `alpha` asks for what a plane cannot show.
    UndistortMap(const Calibration& calibration, Size picture, std::optional<double> alpha);

    /// Not finite where the output looks at what is behind the camera.
    Point operator()(Point output) const {
        return camera_.seen(distorted(lens_, turned(toCamera_, straightCamera_.onPlane(output))));
    }

    /// Of the straight picture.
    const Camera& straightCamera() const { return straightCamera_; }

private:
    Camera camera_;
    Lens lens_;
    Rotation toCamera_;
    Camera straightCamera_;
};

}  // namespace vantor
