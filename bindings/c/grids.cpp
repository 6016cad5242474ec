#include <algorithm>
#include <iterator>
#include <string_view>

#include "bindings/c/buffer.h"
#include "bindings/c/grid_view.h"
#include "bindings/c/picture_view.h"
#include "bindings/c/source_map.h"
#include "bindings/c/warp_size.h"
#include "gdc_model/fixed_point.h"
#include "gdc_model/matrix_grid.h"
#include "geometry/dense_map.h"
#include "geometry/grid_report.h"
#include "geometry/grid_text.h"
#include "geometry/source_rows.h"

namespace vantor::c {
namespace {

Size checkedSize(int width, int height) {
    if (width < 1 || width > kWarpLimit.width)
        throw invalid("width %d, expected 1 to %d", width, kWarpLimit.width);
    if (height < 1 || height > kWarpLimit.height)
        throw invalid("height %d, expected 1 to %d", height, kWarpLimit.height);
    return {width, height};
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
        return makeGrid(finiteMap(transformMap(*transform, picture)), frame);
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
