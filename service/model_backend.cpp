#include "service/model_backend.h"

#include <new>

#include "bindings/c/failure.h"
#include "bindings/c/warp.h"

namespace vantor {

ModelBackend::ModelBackend() : engine_(vantor_engine_new(0)) {
    if (!engine_) throw std::bad_alloc();
}

int32_t ModelBackend::scale(const BackendPicture& dst, const BackendPicture& src) {
    const vantor_image to = regionOf(dst);
    const vantor_image from = regionOf(src);
    return checked(vantor_scale(engine_.get(), &to, &from));
}

int32_t ModelBackend::warp(const BackendPicture& dst, const BackendPicture& src, const vantor_grid& grid) {
    const Size size{src.image.width,
                    src.image.height};  // not extended: clients have only sizes that the device takes
    return checked(c::guarded(engine_.get(), [&] {
        c::warpPart(engine_.get(), size, src.image, grid, dst.region, c::warpPlanes<uint8_t>(regionOf(dst)));
    }));
}

int32_t ModelBackend::checked(int status) const {
    if (status == VANTOR_NO_MEMORY) throw std::bad_alloc();
    return status;
}

vantor_image regionOf(const BackendPicture& picture) {
    vantor_image view = picture.image;
    const vantor_rect& region = picture.region;
    view.width = region.width;
    view.height = region.height;
    view.plane[0] += region.y * view.stride[0] + region.x;
    view.plane[1] += region.y / 2 * view.stride[1] + region.x;
    return view;
}

}  // namespace vantor
