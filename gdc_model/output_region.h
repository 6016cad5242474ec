// The part of an output picture that a warp computes.
#pragma once

#include <cstdint>

namespace vantor {

/// The output pixels that are computed, as the core takes them.
struct OutputRegion {
    int left;
    int top;
    int64_t width;
    int64_t height;

    /// From inclusive edges.
    OutputRegion(int firstColumn, int firstRow, int lastColumn, int lastRow)
        : left(firstColumn),
          top(firstRow),
          width(int64_t{lastColumn} - firstColumn + 1),
          height(int64_t{lastRow} - firstRow + 1) {}

    /// Whether the core can count its columns, rows and samples in 32 bits.
    bool isCountable() const {
        const auto fits = [](int64_t value) { return value >= INT32_MIN && value <= INT32_MAX; };
        if (!fits(width) || !fits(height)) return false;
        return width < 1 || height < 1 || (fits(width * height) && fits(width * height * 5));
    }
};

}  // namespace vantor
