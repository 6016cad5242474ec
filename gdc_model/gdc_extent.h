// How many samples a picture has, and how many of them the core touches.
#pragma once

#include <cstddef>

namespace vantor {

/// Bytes, or samples, of a 4:2:0 picture, three planes or two; 0 for invalid sizes.
inline size_t pictureSamples(int width, int height) {
    return width < 1 || height < 1 ? 0 : static_cast<size_t>(width) * static_cast<size_t>(height) * 3 / 2;
}

/// Samples, from the first on, of a source of W x H or an output region of W x H. That is W x H x 3 / 2 for
/// even sizes; with odd ones the last chroma row reaches further.
inline size_t gdcPictureSamples(int W, int H) {
    if (W < 1 || H < 1) return 0;
    const std::ptrdiff_t width = W;
    const std::ptrdiff_t lastRow = (H - 1) / 2;
    return static_cast<size_t>(width * H * 5 / 4 + lastRow * width / 2 + (width + 1) / 2);
}

}  // namespace vantor
