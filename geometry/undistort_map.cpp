#include "geometry/undistort_map.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "geometry/error.h"

namespace vantor {
namespace {

/// Looked at along each side of a picture to find the rectangles in and around what it shows.
constexpr int kSamples = 9;

struct Rectangle {
    double left;
    double top;
    double right;
    double bottom;

    /// The camera whose outermost pixels have their centres on the rectangle's sides.
    Camera camera(Size picture) const {
        const double fx = (picture.width - 1) / (right - left);
        const double fy = (picture.height - 1) / (bottom - top);
        return {fx, fy, 0.5 - fx * left, 0.5 - fy * top};
    }
};

/// On the plane at distance 1: the largest rectangle in, and the smallest around, what a picture shows.
struct Views {
    Rectangle inner;
    Rectangle outer;
    bool isWhole = true;  ///< whether the plane can show all of the picture's border
};

Views viewsOf(const Camera& camera, const Calibration& calibration, Size picture) {
    constexpr double kFar = std::numeric_limits<double>::infinity();
    Views views{{-kFar, -kFar, kFar, kFar}, {kFar, kFar, -kFar, -kFar}};
    for (int row = 0; row < kSamples; ++row) {
        for (int column = 0; column < kSamples; ++column) {
            const Point pixel{0.5 + (picture.width - 1) * column / (kSamples - 1.0),
                              0.5 + (picture.height - 1) * row / (kSamples - 1.0)};
            std::optional<Point> p = straightened(calibration.lens, camera.onPlane(pixel));
            if (p) p = turned(calibration.rotation, *p);
            if (!p || !std::isfinite(p->x)) {
                views.isWhole = false;
                continue;
            }
            auto& [inner, outer, isWhole] = views;
            if (column == 0) inner.left = std::max(inner.left, p->x);
            if (column == kSamples - 1) inner.right = std::min(inner.right, p->x);
            if (row == 0) inner.top = std::max(inner.top, p->y);
            if (row == kSamples - 1) inner.bottom = std::min(inner.bottom, p->y);
            outer = {std::min(outer.left, p->x), std::min(outer.top, p->y), std::max(outer.right, p->x),
                     std::max(outer.bottom, p->y)};
        }
    }
    return views;
}

bool isProper(const Rectangle& r) {
    const double width = r.right - r.left;
    const double height = r.bottom - r.top;
    return width > 0 && height > 0 && width + height < std::numeric_limits<double>::infinity();
}

/// The largest rectangle of an aspect ratio (width over height) in another, or the smallest around it, with
/// the same centre.
Rectangle shaped(const Rectangle& r, double shape, bool isInside) {
    const bool isWide = r.right - r.left > shape * (r.bottom - r.top);
    const double halfHeight = isWide == isInside ? (r.bottom - r.top) / 2 : (r.right - r.left) / shape / 2;
    const Point middle{(r.left + r.right) / 2, (r.top + r.bottom) / 2};
    return {middle.x - shape * halfHeight, middle.y - halfHeight, middle.x + shape * halfHeight,
            middle.y + halfHeight};
}

Camera cameraFor(const Calibration& calibration, const Camera& camera, Size picture, double alpha) {
    Views views = viewsOf(camera, calibration, picture);
    if (!isProper(views.inner)) {
        throw GeometryError(
            "the lens cannot be straightened as far as the picture's sides; expected no alpha");
    }
    if (alpha > 0 && !views.isWhole) {
        throw GeometryError(
            "the lens cannot be straightened as far as the picture's corners; expected alpha 0, or none");
    }
    if (calibration.lens.isFisheye) {  // filling both sides would stretch it beyond recognition
        const double shape = (picture.width - 1) / camera.fx / ((picture.height - 1) / camera.fy);
        views.inner = shaped(views.inner, shape, true);
        views.outer = shaped(views.outer, shape, false);
    }
    const Camera tight = views.inner.camera(picture);
    if (alpha == 0) return tight;
    const Camera wide = views.outer.camera(picture);
    const auto blend = [alpha](double from, double to) { return from * (1 - alpha) + to * alpha; };
    return {blend(tight.fx, wide.fx), blend(tight.fy, wide.fy), blend(tight.cx, wide.cx),
            blend(tight.cy, wide.cy)};
}

double dot(const double* a, const double* b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

std::array<double, 3> cross(const double* a, const double* b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

/// Exactly, as files round their numbers: the transposed matrix is the inverse only within that.
Rotation inverse(const Rotation& m) {
    const double *x = m.data(), *y = x + 3, *z = x + 6;
    const std::array<double, 3> columns[] = {cross(y, z), cross(z, x), cross(x, y)};
    const double determinant = dot(x, columns[0].data());
    Rotation result;
    for (size_t i = 0; i < result.size(); ++i) result[i] = columns[i % 3][i / 3] / determinant;
    return result;
}

Camera scaled(const Camera& camera, Size from, Size to) {
    const double across = static_cast<double>(to.width) / from.width;
    const double down = static_cast<double>(to.height) / from.height;
    return {camera.fx * across, camera.fy * down, camera.cx * across, camera.cy * down, camera.skew * across};
}

}  // namespace

Camera cameraOf(const std::array<double, 9>& k) {
    if (!(k[0] > 0 && k[4] > 0 && k[3] == 0 && k[6] == 0 && k[7] == 0 && k[8] == 1)) {
        throw GeometryError(
            "is not a camera matrix, expected rows fx 0 cx, 0 fy cy, 0 0 1 with fx and fy above 0");
    }
    return {k[0], k[4], k[2] + 0.5, k[5] + 0.5, k[1]};
}

Camera projectionOf(const double* p, size_t count) {
    if (count != 9 && count != 12)
        throw GeometryError("has " + std::to_string(count) + " elements, expected 3 x 4");
    if (count == 12 && p[11] != 0) throw GeometryError("does not end in 0 0 1 0, as that of a camera does");
    const size_t row = count / 3;
    return cameraOf(
        {p[0], p[1], p[2], p[row], p[row + 1], p[row + 2], p[2 * row], p[2 * row + 1], p[2 * row + 2]});
}

Rotation rotationOf(const double* matrix, size_t count) {
    constexpr double kTolerance = 1e-3;
    const GeometryError error(
        "is not orthonormal, expected 3 x 3 numbers, the rows of length 1 and at right angles");
    if (count != 9) throw error;
    Rotation rotation;
    std::copy_n(matrix, count, rotation.begin());
    const double *x = matrix, *y = x + 3, *z = x + 6;
    const auto isNear = [](double a, double b) { return std::abs(a - b) <= kTolerance; };
    const bool isTurn = isNear(dot(x, x), 1) && isNear(dot(y, y), 1) && isNear(dot(x, y), 0) &&
                        isNear(dot(x, z), 0) && isNear(dot(y, z), 0) && isNear(dot(cross(x, y).data(), z), 1);
    if (!isTurn) throw error;
    return rotation;
}

Point turned(const Rotation& r, Point p) {
    const double depth = r[6] * p.x + r[7] * p.y + r[8];
    const double scale = depth > 0 ? 1 / depth : std::numeric_limits<double>::quiet_NaN();
    return {(r[0] * p.x + r[1] * p.y + r[2]) * scale, (r[3] * p.x + r[4] * p.y + r[5]) * scale};
}

Lens lensOf(const double* coefficients, size_t count, bool isFisheye) {
    const auto expected = [count](const char* what) {
        return GeometryError("has " + std::to_string(count) + " elements, expected " + what);
    };
    if (isFisheye && count != 4) throw expected("4 for a fisheye");
    if (count != 4 && count != 5 && count != 8 && count != 12 && count != 14) throw expected("4, 5, 8 or 12");
    if (count == 14 && (coefficients[12] != 0 || coefficients[13] != 0))
        throw GeometryError("tilts the sensor by its last two elements, expected 0 for them");
    Lens lens;
    lens.isFisheye = isFisheye;
    std::copy_n(coefficients, std::min(count, lens.coefficients.size()), lens.coefficients.begin());
    return lens;
}

UndistortMap::UndistortMap(const Calibration& calibration, Size picture, std::optional<double> alpha)
    : camera_(scaled(calibration.camera, calibration.size, picture)),
      lens_(calibration.lens),
      toCamera_(inverse(calibration.rotation)),
      straightCamera_(calibration.straightCamera
                          ? scaled(*calibration.straightCamera, calibration.size, picture)
                          : camera_) {
    if (alpha) straightCamera_ = cameraFor(calibration, camera_, picture, *alpha);
}

}  // namespace vantor
