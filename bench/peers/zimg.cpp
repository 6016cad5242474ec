// zimg is planar: libyuv splits the chroma planes and merges them again.
#include <libyuv.h>
#include <zimg.h>

#include <memory>
#include <stdexcept>

#include "bench/peers/peers.h"

namespace vantor::bench {
namespace {

void check(zimg_error_code_e status) {
    if (status == ZIMG_ERROR_SUCCESS) return;
    char text[256];
    zimg_get_last_error(text, sizeof text);
    throw std::runtime_error(std::string("zimg: ") + text);
}

zimg_image_format planarFormat(Size size) {
    zimg_image_format format;
    zimg_image_format_default(&format, ZIMG_API_VERSION);
    format.width = static_cast<unsigned>(size.width);
    format.height = static_cast<unsigned>(size.height);
    format.pixel_type = ZIMG_PIXEL_BYTE;
    format.subsample_w = 1;
    format.subsample_h = 1;
    format.color_family = ZIMG_COLOR_YUV;
    format.pixel_range = ZIMG_RANGE_FULL;
    return format;
}

/// The chroma of an NV12 picture as two consecutive planes.
class PlanarChroma {
public:
    explicit PlanarChroma(Size chroma)
        : height_(chroma.height), planes_({chroma.width, 2 * height_}, kAlignment) {}

    uint8_t* u() { return planes_.y(); }
    uint8_t* v() { return u() + static_cast<ptrdiff_t>(height_) * stride(); }
    int stride() const { return planes_.stride(); }

private:
    int height_;
    Picture planes_;
};

class Scaling {
public:
    Scaling(const Picture& src, Picture& dst, zimg_resample_filter_e filter, zimg_cpu_type_e cpu)
        : src_(src),
          dst_(dst),
          srcChroma_(src.chromaSize()),
          dstChroma_(dst.chromaSize()),
          graph_(build(src, dst, filter, cpu), zimg_filter_graph_free) {
        if (!graph_) check(zimg_get_last_error(nullptr, 0));
        size_t bytes;
        check(zimg_filter_graph_get_tmp_size(graph_.get(), &bytes));
        working_ = std::make_unique<Picture>(Size{4096, static_cast<int>(bytes / 4096 + 1)});
    }

    void run() {
        const auto [srcWidth, srcHeight] = src_.chromaSize();
        libyuv::SplitUVPlane(src_.uv(), src_.stride(), srcChroma_.u(), srcChroma_.stride(), srcChroma_.v(),
                             srcChroma_.stride(), srcWidth, srcHeight);
        const zimg_image_buffer_const from = {ZIMG_API_VERSION,
                                              {{src_.y(), src_.stride(), ZIMG_BUFFER_MAX},
                                               {srcChroma_.u(), srcChroma_.stride(), ZIMG_BUFFER_MAX},
                                               {srcChroma_.v(), srcChroma_.stride(), ZIMG_BUFFER_MAX},
                                               {}}};
        const zimg_image_buffer to = {ZIMG_API_VERSION,
                                      {{dst_.y(), dst_.stride(), ZIMG_BUFFER_MAX},
                                       {dstChroma_.u(), dstChroma_.stride(), ZIMG_BUFFER_MAX},
                                       {dstChroma_.v(), dstChroma_.stride(), ZIMG_BUFFER_MAX},
                                       {}}};
        check(zimg_filter_graph_process(graph_.get(), &from, &to, working_->y(), nullptr, nullptr, nullptr,
                                        nullptr));
        const auto [dstWidth, dstHeight] = dst_.chromaSize();
        libyuv::MergeUVPlane(dstChroma_.u(), dstChroma_.stride(), dstChroma_.v(), dstChroma_.stride(),
                             dst_.uv(), dst_.stride(), dstWidth, dstHeight);
    }

private:
    static zimg_filter_graph* build(const Picture& src, const Picture& dst, zimg_resample_filter_e filter,
                                    zimg_cpu_type_e cpu) {
        zimg_graph_builder_params params;
        zimg_graph_builder_params_default(&params, ZIMG_API_VERSION);
        params.resample_filter = filter;
        params.resample_filter_uv = ZIMG_RESIZE_BILINEAR;
        params.cpu_type = cpu;
        const zimg_image_format from = planarFormat(src.size());
        const zimg_image_format to = planarFormat(dst.size());
        return zimg_filter_graph_build(&from, &to, &params);
    }

    const Picture& src_;
    Picture& dst_;
    PlanarChroma srcChroma_;
    PlanarChroma dstChroma_;
    std::unique_ptr<zimg_filter_graph, decltype(&zimg_filter_graph_free)> graph_;
    std::unique_ptr<Picture> working_;
};

Scaler scaler(const char* name, Filter filter, zimg_resample_filter_e resampling, zimg_cpu_type_e cpu) {
    return {name, filter, [resampling, cpu](const Picture& src, Picture& dst) -> Work {
                auto scaling = std::make_shared<Scaling>(src, dst, resampling, cpu);
                return [scaling] { scaling->run(); };
            }};
}

std::string version() {
    unsigned major, minor, micro;
    zimg_get_version_info(&major, &minor, &micro);
    return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(micro);
}

}  // namespace

Contender zimgContender() {
    // By default zimg uses vectors of 32 bytes at most.
    return {"zimg",
            version(),
            {scaler("zimg bilinear", Filter::FewerTaps, ZIMG_RESIZE_BILINEAR, ZIMG_CPU_AUTO_64B),
             scaler("zimg bicubic", Filter::FourTaps, ZIMG_RESIZE_BICUBIC, ZIMG_CPU_AUTO_64B),
             scaler("zimg bicubic, 32-byte vectors", Filter::FourTaps, ZIMG_RESIZE_BICUBIC, ZIMG_CPU_AUTO)},
            {}};
}

}  // namespace vantor::bench
