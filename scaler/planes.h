// The planes that are read and written.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor {

/// Rows of a picture, packed.
struct Plane {
    const uint8_t* data;
    int width;
    int height;

    const uint8_t* row(int y) const { return data + std::ptrdiff_t{y} * width; }
};

/// A rectangle of destination samples, one row `stride` bytes behind the other.
struct Target {
    uint8_t* data;
    int stride;
    int firstColumn;
    int endColumn;
    int firstRow;
    int endRow;

    uint8_t* row(int y) const { return data + std::ptrdiff_t{y} * stride; }
};

}  // namespace vantor
