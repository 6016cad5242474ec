// The planes that are read and written, and which part of them.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor {

/// Rows of source samples, `stride` bytes apart.
struct SourcePlane {
    const uint8_t* data;
    std::ptrdiff_t stride;
    int columns;  ///< samples, or UV pairs
    int rows;
    int firstReadable = 0;  ///< column; -1 where the byte before a row may be read, as narrow sources want it
    const uint8_t* v = nullptr;  ///< of chroma in two planes, of which `data` is U; else null
    std::ptrdiff_t vStride = 0;

    const uint8_t* row(int y) const { return data + y * stride; }
    const uint8_t* vRow(int y) const { return v + y * vStride; }
    SourcePlane onlyV() const { return {v, vStride, columns, rows}; }
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
    uint8_t* v = nullptr;      ///< as in SourcePlane
    std::ptrdiff_t vStride = 0;

    uint8_t* row(int y) const { return data + y * stride; }
    uint8_t* vRow(int y) const { return v + y * vStride; }
    Target onlyV() const { return {v, vStride, firstColumn, endColumn, rows}; }
};

}  // namespace vantor
