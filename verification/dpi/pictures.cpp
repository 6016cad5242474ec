// Whole pictures, and grids, behind handles.
#include <algorithm>
#include <fstream>
#include <iterator>
#include <vector>

#include "bindings/c/picture_view.h"
#include "gdc_model/grid.h"
#include "verification/dpi/arguments.h"
#include "verification/dpi/arrays.h"
#include "verification/dpi/dpi.h"
#include "verification/dpi/handles.h"
#include "verification/dpi/objects.h"

namespace vantor::dpi {
namespace {

using c::guarded;
using c::invalid;

struct Picture {
    vantor_image image{};
    std::vector<uint8_t> samples{};

    Picture(int format, int width, int height) {
        image.format = format;
        image.width = width;
        image.height = height;
        // Checked as if it were one row of memory, since there is none yet.
        uint8_t none = 0;
        for (int plane = 0; plane < 3; ++plane) {
            image.plane[plane] = &none;
            image.stride[plane] = plane == 0 || format != VANTOR_I420 ? width : width / 2;
        }
        c::checkImage("picture", &image, c::kScaleLimit);
        size_t total = 0;
        for (int plane = 0; plane < c::planeCount(image); ++plane) total += planeBytes(plane);
        samples.resize(total);
        uint8_t* next = samples.data();
        for (int plane = 0; plane < c::planeCount(image); ++plane) {
            image.plane[plane] = next;
            next += planeBytes(plane);
        }
    }

    size_t planeBytes(int plane) const {
        const c::PlaneView view = c::planeView(image, plane);
        return static_cast<size_t>(view.rowBytes) * static_cast<size_t>(view.rows);
    }

    /// Rows have no gaps.
    c::PlaneView row(int plane, int y) const {
        checkRange("plane", plane, 0, c::planeCount(image) - 1);
        c::PlaneView view = c::planeView(image, plane);
        checkRange("y", y, 0, view.rows - 1);
        view.data += y * view.stride;
        return view;
    }

    uint8_t& sample(int plane, int x, int y) const {
        const c::PlaneView view = row(plane, y);
        checkRange("x", x, 0, view.rowBytes - 1);
        return view.data[x];
    }
};

Handles<Picture>& pictures() {
    static Handles<Picture> handles("picture");
    return handles;
}

Handles<vantor_grid>& grids() {
    static Handles<vantor_grid> handles("grid");
    return handles;
}

/// At most one byte more than `limit`, which tells that the file is too long.
std::vector<char> readFile(const char* path, size_t limit) {
    c::checkPointer("path", path);
    std::ifstream file(path, std::ios::binary);
    std::vector<char> bytes(limit + 1);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.is_open() || file.bad()) throw invalid("%s: cannot be read", path);
    bytes.resize(static_cast<size_t>(file.gcount()));
    return bytes;
}

/// Fails as the C function has failed, whose message is already where it is looked for.
void check(int status) {
    if (status < 0) {
        c::Failure failure = invalid("%s", vantor_message(nullptr));
        failure.status = status;
        throw failure;
    }
}

int nodeOf(int column, int row) {
    checkRange("column", column, 0, kGridCells);
    checkRange("row", row, 0, kGridCells);
    return row * kGridNodes + column;
}

}  // namespace

const vantor_image& imageAt(const char* name, void* handle) {
    return pictures().at(name, handle).image;
}

const vantor_grid& gridAt(void* handle) {
    return grids().at("grid", handle);
}

}  // namespace vantor::dpi

using namespace vantor::dpi;

const char* vantor_dpi_message(void) {
    return vantor_message(nullptr);
}

const char* vantor_dpi_version(void) {
    return vantor_version();
}

void* vantor_dpi_picture_new(int format, int width, int height) {
    return guardedHandle([&] { return pictures().add(std::make_unique<Picture>(format, width, height)); });
}

void vantor_dpi_picture_free(void* picture) {
    pictures().remove(picture);
}

int vantor_dpi_picture_load(void* picture, const char* path) {
    return guarded(nullptr, [&] {
        Picture& to = pictures().at("picture", picture);
        const std::vector<char> bytes = readFile(path, to.samples.size());
        if (bytes.size() != to.samples.size()) {
            throw invalid("%s: %s%zu bytes, expected %zu", path,
                          bytes.size() > to.samples.size() ? "at least " : "", bytes.size(),
                          to.samples.size());
        }
        std::copy(bytes.begin(), bytes.end(), to.samples.begin());
    });
}

int vantor_dpi_picture_set_row(void* picture, int plane, int y, const svOpenArrayHandle row) {
    return guarded(nullptr, [&] {
        const auto view = pictures().at("picture", picture).row(plane, y);
        std::copy_n(bytes("row", row, static_cast<size_t>(view.rowBytes)), view.rowBytes, view.data);
    });
}

int vantor_dpi_picture_get_row(void* picture, int plane, int y, const svOpenArrayHandle row) {
    return guarded(nullptr, [&] {
        const auto view = pictures().at("picture", picture).row(plane, y);
        std::copy_n(view.data, view.rowBytes, bytes("row", row, static_cast<size_t>(view.rowBytes)));
    });
}

int vantor_dpi_picture_set(void* picture, int plane, int x, int y, int value) {
    return guarded(nullptr, [&] {
        checkRange("value", value, 0, 255);
        pictures().at("picture", picture).sample(plane, x, y) = static_cast<uint8_t>(value);
    });
}

int vantor_dpi_picture_get(void* picture, int plane, int x, int y) {
    return valueOf([&] { return pictures().at("picture", picture).sample(plane, x, y); });
}

int vantor_dpi_picture_scale(void* dst, void* src) {
    return guarded(nullptr, [&] {
        const vantor_image& to = imageAt("dst", dst);
        check(vantor_scale(nullptr, &to, &imageAt("src", src)));
    });
}

int vantor_dpi_picture_warp(void* dst, void* src, void* grid) {
    return guarded(nullptr, [&] {
        const vantor_image& to = imageAt("dst", dst);
        check(vantor_warp(nullptr, &to, &imageAt("src", src), &gridAt(grid)));
    });
}

int vantor_dpi_picture_compare(void* a, void* b, int* component, int* x, int* y, int* in_a, int* in_b) {
    return valueOf([&] {
        const vantor_image& first = imageAt("a", a);
        vantor_difference differences[3] = {};
        check(vantor_compare(&first, &imageAt("b", b), differences));
        const auto found = std::find_if(std::begin(differences), std::end(differences),
                                        [](const vantor_difference& of) { return of.differing > 0; });
        if (found == std::end(differences)) return 0;
        *component = static_cast<int>(found - differences);
        *x = found->first_x;
        *y = found->first_y;
        *in_a = found->first_a;
        *in_b = found->first_b;
        return 1;
    });
}

void* vantor_dpi_grid_new(void) {
    return guardedHandle([] { return grids().add(std::make_unique<vantor_grid>()); });
}

void vantor_dpi_grid_free(void* grid) {
    grids().remove(grid);
}

int vantor_dpi_grid_load(void* grid, const char* path) {
    return guarded(nullptr, [&] {
        vantor_grid& to = grids().at("grid", grid);
        constexpr size_t kLongestGridFile = 1 << 20;
        const std::vector<char> bytes = readFile(path, kLongestGridFile);
        check(vantor_grid_parse(&to, bytes.data(), bytes.size()));
    });
}

int vantor_dpi_grid_set(void* grid, const svOpenArrayHandle dx, const svOpenArrayHandle dy) {
    return guarded(nullptr, [&] {
        vantor_grid& to = grids().at("grid", grid);
        const int32_t* const toRight = ints("dx", dx, VANTOR_GRID_NODES);
        const int32_t* const down = ints("dy", dy, VANTOR_GRID_NODES);
        std::copy_n(toRight, VANTOR_GRID_NODES, to.dx);
        std::copy_n(down, VANTOR_GRID_NODES, to.dy);
    });
}

int vantor_dpi_grid_set_node(void* grid, int column, int row, int dx, int dy) {
    return guarded(nullptr, [&] {
        vantor_grid& to = grids().at("grid", grid);
        const int node = nodeOf(column, row);
        to.dx[node] = dx;
        to.dy[node] = dy;
    });
}

int vantor_dpi_grid_get_node(void* grid, int column, int row, int* dx, int* dy) {
    return guarded(nullptr, [&] {
        const vantor_grid& from = grids().at("grid", grid);
        const int node = nodeOf(column, row);
        *dx = from.dx[node];
        *dy = from.dy[node];
    });
}
