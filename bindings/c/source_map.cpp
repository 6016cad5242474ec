#include "bindings/c/source_map.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>

#include "bindings/c/failure.h"
#include "geometry/error.h"

namespace vantor::c {
namespace {

void checkFinite(const char* name, double value) {
    if (!std::isfinite(value)) throw invalid("%s %g, expected a finite number", name, value);
}

void checkFinite(const char* name, const double* values, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (!std::isfinite(values[i]))
            throw invalid("%s[%zu] %g, expected a finite number", name, i, values[i]);
    }
}

WarpParts partsOf(const vantor_transform& transform) {
    const auto& [rotate, zoom, shearX, shearY, shiftX, shiftY, lens, centerX, centerY, hasCenter] = transform;
    checkFinite("rotate", rotate);
    if (!(zoom > 0 && std::isfinite(zoom))) throw invalid("zoom %g, expected a number above 0", zoom);
    checkFinite("shear_x", shearX);
    checkFinite("shear_y", shearY);
    if (shearX * shearY == 1)
        throw invalid("shear_x %g and shear_y %g, expected a product other than 1", shearX, shearY);
    checkFinite("shift_x", shiftX);
    checkFinite("shift_y", shiftY);
    checkFinite("lens", lens, std::size(lens));
    WarpParts parts{rotate, zoom, {shearX, shearY}, {shiftX, shiftY}, {}, {}};
    std::copy(std::begin(lens), std::end(lens), parts.lens.begin());
    if (hasCenter) {
        checkFinite("center_x", centerX);
        checkFinite("center_y", centerY);
        parts.center = Point{centerX, centerY};
    }
    return parts;
}

/// With errors that name the member they are about.
template <typename Make>
auto named(const char* member, Make&& make) {
    try {
        return make();
    } catch (const GeometryError& error) {
        throw invalid("%s %s", member, error.what());
    }
}

Calibration calibrationOf(const vantor_calibration& numbers) {
    constexpr int kMaxCount = 14;
    constexpr int kMaxSide = 1000000;
    if (numbers.coefficient_count < 0 || numbers.coefficient_count > kMaxCount) {
        throw invalid("coefficient_count %d, expected 4, 5, 8, 12 or %d", numbers.coefficient_count,
                      kMaxCount);
    }
    const auto count = static_cast<size_t>(numbers.coefficient_count);
    checkFinite("camera_matrix", numbers.camera_matrix, std::size(numbers.camera_matrix));
    checkFinite("coefficients", numbers.coefficients, count);
    if (numbers.width < 1 || numbers.width > kMaxSide || numbers.height < 1 || numbers.height > kMaxSide) {
        throw invalid("calibration: size %dx%d, expected sides from 1 to %d", numbers.width, numbers.height,
                      kMaxSide);
    }
    std::array<double, 9> matrix;
    std::copy(std::begin(numbers.camera_matrix), std::end(numbers.camera_matrix), matrix.begin());
    return {
        {numbers.width, numbers.height},
        named("camera_matrix", [&] { return cameraOf(matrix); }),
        named("coefficients", [&] { return lensOf(numbers.coefficients, count, numbers.is_fisheye != 0); })};
}

void addView(Calibration& calibration, const double* rotation, const double* projection) {
    if (rotation) {
        checkFinite("rotation", rotation, 9);
        calibration.rotation = named("rotation", [&] { return rotationOf(rotation, 9); });
    }
    if (projection) {
        checkFinite("projection", projection, 12);
        calibration.straightCamera = named("projection", [&] { return projectionOf(projection, 12); });
    }
}

}  // namespace

WarpMap transformMap(const vantor_transform& transform, Size picture) {
    return {partsOf(transform), picture};
}

UndistortMap undistortMap(const vantor_calibration& numbers, const double* rotation, const double* projection,
                          Size picture) {
    const double alpha = numbers.alpha;
    if (numbers.has_alpha && !(alpha >= 0 && alpha <= 1))
        throw invalid("alpha %g, expected a number from 0 to 1", alpha);
    Calibration calibration = calibrationOf(numbers);
    addView(calibration, rotation, projection);
    return named("alpha:", [&] {
        return UndistortMap(calibration, picture, numbers.has_alpha ? std::optional(alpha) : std::nullopt);
    });
}

}  // namespace vantor::c
