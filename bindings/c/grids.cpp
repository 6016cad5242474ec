#include <algorithm>
#include <array>
#include <cmath>
#include <iterator>
#include <optional>
#include <string_view>

#include "bindings/c/buffer.h"
#include "bindings/c/grid_view.h"
#include "bindings/c/picture_view.h"
#include "bindings/c/warp_size.h"
#include "gdc_model/fixed_point.h"
#include "gdc_model/matrix_grid.h"
#include "geometry/dense_map.h"
#include "geometry/error.h"
#include "geometry/grid_report.h"
#include "geometry/grid_text.h"
#include "geometry/source_rows.h"
#include "geometry/undistort_map.h"
#include "geometry/warp_map.h"

namespace vantor::c {
namespace {

Size checkedSize(int width, int height) {
    if (width < 1 || width > kWarpLimit.width)
        throw invalid("width %d, expected 1 to %d", width, kWarpLimit.width);
    if (height < 1 || height > kWarpLimit.height)
        throw invalid("height %d, expected 1 to %d", height, kWarpLimit.height);
    return {width, height};
}

void checkFinite(const char* name, double value) {
    if (!std::isfinite(value)) throw invalid("%s %g, expected a finite number", name, value);
}

void checkFinite(const char* name, const double* values, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (!std::isfinite(values[i]))
            throw invalid("%s[%zu] %g, expected a finite number", name, i, values[i]);
    }
}

DenseMap denseMap(const float* x, const float* y, Size size) {
    checkPointer("map_x", x);
    checkPointer("map_y", y);
    return DenseMap(x, y, size);
}

/// Makes a grid for pictures of a size, with `make(picture, frame)`.
template <typename Make>
int makeFor(vantor_grid* grid, int width, int height, Make&& make) {
    return guarded(nullptr, [&] {
        checkPointer("grid", grid);
        const Size picture = checkedSize(width, height);
        store(make(picture, extendedSize(picture)), *grid);
    });
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

void storeMatrix(const Camera& camera, double* matrix) {
    const double rows[] = {camera.fx, camera.skew, camera.cx - 0.5, 0, camera.fy, camera.cy - 0.5, 0, 0, 1};
    std::copy(std::begin(rows), std::end(rows), matrix);
}

void storePositions(const vantor_grid& grid, Size picture, int32_t* x, int32_t* y) {
    SourceRows rows(gridOf(grid), extendedSize(picture), picture);
    const auto toCentre = [](int32_t coordinate) { return wrapSub(coordinate, 128); };
    for (int row = 0; row < picture.height; ++row) {
        rows.compute(row);
        x = std::transform(rows.x(), rows.x() + picture.width, x, toCentre);
        y = std::transform(rows.y(), rows.y() + picture.width, y, toCentre);
    }
}

}  // namespace
}  // namespace vantor::c

using namespace vantor;
using namespace vantor::c;

int vantor_grid_from_matrix(vantor_grid* grid, const int16_t matrix[6], int width, int height) {
    return makeFor(grid, width, height, [&](Size, Size frame) {
        checkPointer("matrix", matrix);
        return gridFromMatrix(AffineMatrix(matrix).values, frame.width, frame.height, true);
    });
}

int vantor_grid_from_map(vantor_grid* grid, const float* map_x, const float* map_y, int width, int height) {
    return makeFor(grid, width, height, [&](Size picture, Size frame) {
        return makeGrid(denseMap(map_x, map_y, picture), frame);
    });
}

int vantor_grid_from_transform(vantor_grid* grid, const vantor_transform* transform, int width, int height) {
    return makeFor(grid, width, height, [&](Size picture, Size frame) {
        checkPointer("transform", transform);
        return makeGrid(finiteMap(WarpMap(partsOf(*transform), picture)), frame);
    });
}

int vantor_grid_from_lens(vantor_grid* grid, const double lens[5], int width, int height) {
    if (!lens) return report(nullptr, invalid("lens is null"));
    vantor_transform transform{};
    transform.zoom = 1;
    std::copy_n(lens, 5, transform.lens);
    return vantor_grid_from_transform(grid, &transform, width, height);
}

int vantor_grid_from_calibration(vantor_grid* grid, const vantor_calibration* calibration, int width,
                                 int height, double straight[9]) {
    return vantor_grid_from_rectification(grid, calibration, nullptr, nullptr, width, height, straight);
}

int vantor_grid_from_rectification(vantor_grid* grid, const vantor_calibration* calibration,
                                   const double rotation[9], const double projection[12], int width,
                                   int height, double straight[9]) {
    return makeFor(grid, width, height, [&](Size picture, Size frame) {
        checkPointer("calibration", calibration);
        const UndistortMap map = undistortMap(*calibration, rotation, projection, picture);
        const Grid made = makeGrid(finiteMap(map), frame);
        if (straight) storeMatrix(map.straightCamera(), straight);
        return made;
    });
}

int vantor_grid_positions(const vantor_grid* grid, int width, int height, int32_t* x, int32_t* y) {
    return guarded(nullptr, [&] {
        checkPointer("grid", grid);
        checkPointer("x", x);
        checkPointer("y", y);
        storePositions(*grid, checkedSize(width, height), x, y);
    });
}

int vantor_grid_error(const vantor_grid* grid, const float* map_x, const float* map_y, int width, int height,
                      double* rms, double* largest, int32_t* at_x, int32_t* at_y) {
    return guarded(nullptr, [&] {
        checkPointer("grid", grid);
        const Size picture = checkedSize(width, height);
        const GridError error = measureError(gridOf(*grid), denseMap(map_x, map_y, picture), picture,
                                             extendedSize(picture), Counted::InsideByMap);
        if (rms) *rms = error.rms;
        if (largest) *largest = error.largest;
        if (at_x) *at_x = error.largestX;
        if (at_y) *at_y = error.largestY;
    });
}

int vantor_grid_parse(vantor_grid* grid, const void* bytes, size_t size) {
    return guarded(nullptr, [&] {
        checkPointer("grid", grid);
        checkPointer("bytes", bytes);
        store(parseGrid({static_cast<const char*>(bytes), size}), *grid);
    });
}

int vantor_grid_format(const vantor_grid* grid, int form, const char* comment, void* bytes, size_t size,
                       size_t* needed) {
    return guarded(nullptr, [&] {
        checkPointer("grid", grid);
        if (form != VANTOR_GRID_BINARY && form != VANTOR_GRID_TEXT)
            throw invalid("form %d, expected %d or %d", form, VANTOR_GRID_BINARY, VANTOR_GRID_TEXT);
        const std::string_view line = comment ? comment : "";
        if (std::any_of(line.begin(), line.end(), [](char c) { return c < ' ' || c > '~'; }))
            throw invalid("comment: expected printable characters");
        const Grid nodes = gridOf(*grid);
        deliver(form == VANTOR_GRID_TEXT ? toText(nodes, line) : toBinary(nodes), "bytes", bytes, size,
                needed);
    });
}
