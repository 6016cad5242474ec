// The views that callers hand over, checked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vantor/vantor.h"

namespace vantor::c {

/// One plane of a view. Throws a Failure where it cannot be what it says.
struct PlaneView {
    uint8_t* data;
    std::ptrdiff_t stride;
    int rowBytes;
    int rows;
};

struct SizeLimit {
    int width;
    int height;
};

/// Bounds of the pictures that are scaled and warped.
constexpr SizeLimit kScaleLimit{16384, 16384};
constexpr SizeLimit kWarpLimit{8192, 6144};

bool hasChroma(const vantor_image& image);

/// 1 for gray, 2 with chroma in pairs, 3 with planes of their own.
int planeCount(const vantor_image& image);

PlaneView planeView(const vantor_image& image, int plane);

/// Throws a Failure where a picture is no picture within `limit`. `name` is the argument's.
void checkImage(const char* name, const vantor_image* image, const SizeLimit& limit);

/// The same for a destination and a source, which have one format, and no byte in common.
void checkImages(const vantor_image* dst, const vantor_image* src, const SizeLimit& limit);

}  // namespace vantor::c
