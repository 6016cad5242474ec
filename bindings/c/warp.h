// The warp of a part of a picture.
#pragma once

#include "bindings/c/picture_view.h"
#include "gdc_model/picture_warp.h"
#include "geometry/size.h"

namespace vantor::c {

/// The planes as the engine takes them. Chroma is warped alike in either order: of NV21, U here is V.
template <typename Byte>
GdcPlanes<Byte> warpPlanes(const vantor_image& image) {
    GdcPlanes<Byte> planes{image.plane[0], nullptr,     nullptr, image.stride[0], 0, 0, 2,
                           image.width,    image.height};
    if (!hasChroma(image)) return planes;
    // A single row may have a stride that cannot be doubled.
    const auto twoRows = [&](int plane) { return image.height > 2 ? 2 * image.stride[plane] : 0; };
    planes.u = image.plane[1];
    planes.v = planes.u + 1;
    planes.uTwoRows = planes.vTwoRows = twoRows(1);
    if (image.format == VANTOR_I420) {
        planes.v = image.plane[2];
        planes.vTwoRows = twoRows(2);
        planes.chromaStep = 1;
    }
    return planes;
}

/// Writes a part of a picture, which has been checked, to planes that begin with it. The grid is spread over
/// `frame`, which the picture is extended to.
void warpPart(vantor_engine* engine, Size frame, const vantor_image& src, const vantor_grid& grid,
              const vantor_rect& part, const WarpOutputPlanes& output);

}  // namespace vantor::c
