// The views that callers hand over, checked.
#pragma once

#include <cstddef>
#include <cstdint>

#include "vantor/vantor.h"

namespace vantor::c {

/// One plane of a view.
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

/// Whether any row of one plane has a byte in common with any row of the other.
bool overlap(const PlaneView& a, const PlaneView& b);

/// Throws a Failure where a side is not from 1, or 2 for even ones, to `limit`.
void checkSide(const char* name, const char* side, int value, int limit, bool isEven);

/// Throws a Failure where a plane cannot lie in memory. `plane` and `stride` are its names in `name`.
void checkPlane(const char* name, const char* plane, const char* stride, const PlaneView& view);

/// Throws a Failure where a picture is no picture within `limit`. `name` is the argument's.
void checkImage(const char* name, const vantor_image* image, const SizeLimit& limit);

/// The same for a destination, whose planes have no byte in common.
void checkDestination(const vantor_image* dst, const SizeLimit& limit);

/// The same for a destination and a source, which have one format, and no byte in common.
void checkImages(const vantor_image* dst, const vantor_image* src, const SizeLimit& limit);

}  // namespace vantor::c
