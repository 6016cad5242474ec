#include "bindings/c/engine.h"
#include "bindings/c/picture_view.h"
#include "scaler/picture_scale.h"

namespace vantor::c {
namespace {

constexpr int64_t kSamplesPerThread = 131072;

/// Pairs of V and U are scaled like those of U and V.
template <typename Planes>
Planes planesOf(const vantor_image& image) {
    const bool isPlanar = image.format == VANTOR_I420;
    return {image.plane[0],
            image.stride[0],
            hasChroma(image) ? image.plane[1] : nullptr,
            image.stride[1],
            isPlanar ? image.plane[2] : nullptr,
            image.stride[2],
            image.width,
            image.height};
}

}  // namespace
}  // namespace vantor::c

using namespace vantor::c;

int vantor_scale(vantor_engine* engine, const vantor_image* dst, const vantor_image* src) {
    return guarded(engine, [&] {
        checkImages(dst, src, kScaleLimit);
        const int workers = workersFor(engine, int64_t{dst->width} * dst->height, kSamplesPerThread);
        const vantor::PictureScale scale(planesOf<vantor::PictureScale::Source>(*src),
                                         planesOf<vantor::PictureScale::Destination>(*dst), workers);
        forEachTile(engine, workers, scale.tiles(), [&](int tile) { scale.run(tile); });
    });
}
