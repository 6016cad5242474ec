#include <memory>
#include <stdexcept>

#include "bench/peers/peers.h"

extern "C" {
#include <libavutil/avutil.h>
#include <libswscale/swscale.h>
}

namespace vantor::bench {
namespace {

Scaler scaler(const char* name, Filter filter, int flags) {
    return {name, filter, [flags](const Picture& src, Picture& dst) -> Work {
                std::shared_ptr<SwsContext> context(
                    sws_getContext(src.size().width, src.size().height, AV_PIX_FMT_NV12, dst.size().width,
                                   dst.size().height, AV_PIX_FMT_NV12, flags, nullptr, nullptr, nullptr),
                    sws_freeContext);
                if (!context) throw std::runtime_error("libswscale refuses these sizes");
                return [&src, &dst, context] {
                    const uint8_t* const srcPlanes[] = {src.y(), src.uv()};
                    uint8_t* const dstPlanes[] = {dst.y(), dst.uv()};
                    const int srcStrides[] = {src.stride(), src.stride()};
                    const int dstStrides[] = {dst.stride(), dst.stride()};
                    sws_scale(context.get(), srcPlanes, srcStrides, 0, src.size().height, dstPlanes,
                              dstStrides);
                };
            }};
}

}  // namespace

Contender swscaleContender() {
    return {"libswscale",
            AV_STRINGIFY(LIBSWSCALE_VERSION),
            {scaler("libswscale fast bilinear", Filter::FewerTaps, SWS_FAST_BILINEAR),
             scaler("libswscale bilinear", Filter::FewerTaps, SWS_BILINEAR),
             scaler("libswscale bicubic", Filter::FourTaps, SWS_BICUBIC),
             scaler("libswscale bicubic, bilinear chroma", Filter::FourTaps, SWS_BICUBLIN)},
            {}};
}

}  // namespace vantor::bench
