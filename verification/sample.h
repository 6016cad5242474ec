// Samples of pictures, wherever good and faulty hardware looks for them.
#pragma once

#include "verification/coverage.h"

namespace vantor::verification {

/// From 0 to size - 1, as in a ring of that size.
inline int64_t ringIndex(int64_t index, int64_t size) {
    if (index >= 0 && index < size) return index;
    return (index % size + size) % size;
}

inline int64_t lumaSample(const PictureView& picture, int64_t column, int64_t row) {
    return picture.luma[ringIndex(row, picture.size.height) * picture.lumaStride +
                        ringIndex(column, picture.size.width)];
}

inline int64_t chromaSample(const PictureView& picture, int64_t column, int64_t row, int64_t colour) {
    return picture.chroma[ringIndex(row, picture.size.height / 2) * picture.chromaStride +
                          2 * ringIndex(column, picture.size.width / 2) + colour];
}

}  // namespace vantor::verification
