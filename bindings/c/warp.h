// The warp of a part of a picture.
#pragma once

#include "bindings/c/picture_view.h"
#include "gdc_model/picture_warp.h"

namespace vantor::c {

/// The planes as the engine takes them. Chroma is warped alike in either order: of NV21, U here is V.
template <typename Byte>
GdcPlanes<Byte> warpPlanes(const vantor_image& image) {
    const int step = image.format == VANTOR_I420 ? 1 : 2;
    uint8_t* const u = hasChroma(image) ? image.plane[1] : nullptr;
    uint8_t* const v = !u ? nullptr : step == 1 ? image.plane[2] : u + 1;
    const std::ptrdiff_t vStride = image.stride[step == 1 ? 2 : 1];
    return {image.plane[0], u,    v,           image.stride[0], 2 * image.stride[1],
            2 * vStride,    step, image.width, image.height};
}

/// Writes a part of a picture, which has been checked, to planes that begin with it.
void warpPart(vantor_engine* engine, const vantor_image& src, const vantor_grid& grid,
              const vantor_rect& part, const WarpOutputPlanes& output);

}  // namespace vantor::c
