#include <libyuv.h>

#include "bench/peers/peers.h"

namespace vantor::bench {
namespace {

Scaler scaler(const char* name, libyuv::FilterMode mode) {
    return {name, Filter::FewerTaps, [mode](const Picture& src, Picture& dst) -> Work {
                return [&src, &dst, mode] {
                    libyuv::NV12Scale(src.y(), src.stride(), src.uv(), src.stride(), src.size().width,
                                      src.size().height, dst.y(), dst.stride(), dst.uv(), dst.stride(),
                                      dst.size().width, dst.size().height, mode);
                };
            }};
}

}  // namespace

Contender libyuvContender() {
    return {"libyuv",
            std::to_string(LIBYUV_VERSION),
            {scaler("libyuv bilinear", libyuv::kFilterBilinear), scaler("libyuv box", libyuv::kFilterBox)},
            {}};
}

}  // namespace vantor::bench
