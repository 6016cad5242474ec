#include "tools/vantor/library/engine.h"

#include <new>

#include "bindings/c/grid_view.h"
#include "gdc_model/matrix_grid.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/library/timed.h"

namespace vantor::tool {
namespace {

int32_t formatOf(PixelFormat format) {
    switch (format) {
        case PixelFormat::Nv12:
            return VANTOR_NV12;
        case PixelFormat::Nv21:
            return VANTOR_NV21;
        case PixelFormat::I420:
            return VANTOR_I420;
        default:
            return VANTOR_GRAY8;
    }
}

vantor_image viewOf(const Planes& planes) {
    return {formatOf(planes.format),
            planes.size.width,
            planes.size.height,
            {planes.luma, planes.chroma, planes.second},
            {planes.lumaStride, planes.chromaStride, planes.chromaStride}};
}

vantor_grid gridOf(const Request& request, Size picture) {
    const Size frame = deviceSize(picture);
    const Grid grid =
        request.operation == Request::Operation::GdcGrid
            ? request.grid
            : gridFromMatrix(AffineMatrix(request.matrix.data()).values, frame.width, frame.height, true);
    vantor_grid result;
    c::store(grid, result);
    return result;
}

}  // namespace

Engine::Engine(size_t threads) : engine_(vantor_engine_new(static_cast<int>(threads))) {
    if (!engine_) throw UserError(vantor_message(nullptr));
}

RequestResult Engine::run(const Planes& dst, const Planes& src, const Request& request) {
    const vantor_image to = viewOf(dst);
    const vantor_image from = viewOf(src);
    RequestResult result{VANTOR_OK, 0, true, {}};
    result.milliseconds = timed([&] {
        if (request.isWarp()) {
            const vantor_grid grid = gridOf(request, src.size);
            result.status = vantor_warp(engine_.get(), &to, &from, &grid);
        } else {
            result.status = vantor_scale(engine_.get(), &to, &from);
        }
    });
    expectDone(result.status);
    return result;
}

Engine::Selftest Engine::selftest() {
    int32_t pictures = 0;
    const int right = vantor_selftest(engine_.get(), &pictures);
    expectDone(right);
    return {pictures, right};
}

void Engine::expectDone(int status) const {
    if (status == VANTOR_NO_MEMORY) throw std::bad_alloc();
    if (status < 0) throw UserError(std::string("the library refused: ") + vantor_message(engine_.get()));
}

}  // namespace vantor::tool
