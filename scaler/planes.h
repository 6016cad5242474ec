// The planes that are read and written, and which part of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor {

/// Rows of source samples, `stride` bytes apart.
struct SourcePlane {
    const uint8_t* data;
    std::ptrdiff_t stride;
    int rows;

    const uint8_t* row(int y) const { return data + y * stride; }
};

/// Consecutive destination rows, walked downward from `first`, or upward to it.
struct RowRange {
    int first;
    int count;
    bool upward;

    int row(int i) const { return upward ? first + count - 1 - i : first + i; }
};

/// A rectangle of destination samples, or of UV pairs. Rows are `stride` bytes apart.
struct Target {
    uint8_t* data;
    std::ptrdiff_t stride;
    int firstColumn;
    int endColumn;
    RowRange rows;
    bool isStackDeep = false;  ///< the writer's, 64 KB and more, all of it touched before

    uint8_t* row(int y) const { return data + y * stride; }
};

}  // namespace vantor
