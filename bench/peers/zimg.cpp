// zimg is planar: libyuv takes the chroma apart and puts it together again, row by row, while rows are warm.
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

/// Rows of U and V, of which only the last ones are kept, as many as zimg asks for.
class PlanarChroma {
public:
    PlanarChroma(Size chroma, unsigned lumaRows) {
        const unsigned lumaMask = zimg_select_buffer_mask(lumaRows);
        const bool isWhole = lumaMask == ZIMG_BUFFER_MAX;
        mask_ = isWhole ? ZIMG_BUFFER_MAX : lumaMask >> 1;
        rows_ = isWhole ? chroma.height : static_cast<int>(mask_ + 1);
        planes_ = std::make_unique<Picture>(Size{chroma.width, 2 * rows_}, kAlignment);
    }

    uint8_t* u(unsigned row) const { return planes_->y() + static_cast<ptrdiff_t>(row & mask_) * stride(); }
    uint8_t* v(unsigned row) const { return u(row) + static_cast<ptrdiff_t>(rows_) * stride(); }
    int stride() const { return planes_->stride(); }
    unsigned mask() const { return mask_; }

private:
    unsigned mask_;
    int rows_;
    std::unique_ptr<Picture> planes_;
};

/// Columns `left` to `right` - 1 of the luma stand for half as many pairs.
struct Pairs {
    int first;
    int count;

    Pairs(unsigned left, unsigned right)
        : first(static_cast<int>(left / 2)), count(static_cast<int>((right + 1) / 2 - left / 2)) {}
};

class Scaling {
public:
    Scaling(const Picture& src, Picture& dst, zimg_resample_filter_e filter, zimg_cpu_type_e cpu)
        : src_(src), dst_(dst), graph_(build(src, dst, filter, cpu), zimg_filter_graph_free) {
        if (!graph_) check(zimg_get_last_error(nullptr, 0));
        unsigned rows;
        check(zimg_filter_graph_get_input_buffering(graph_.get(), &rows));
        srcChroma_ = std::make_unique<PlanarChroma>(src.chromaSize(), rows);
        check(zimg_filter_graph_get_output_buffering(graph_.get(), &rows));
        dstChroma_ = std::make_unique<PlanarChroma>(dst.chromaSize(), rows);
        size_t bytes;
        check(zimg_filter_graph_get_tmp_size(graph_.get(), &bytes));
        working_ = std::make_unique<Picture>(Size{4096, static_cast<int>(bytes / 4096 + 2) / 2 * 2});
    }

    void run() {
        const zimg_image_buffer_const from = {ZIMG_API_VERSION,
                                              {{src_.y(), src_.stride(), ZIMG_BUFFER_MAX},
                                               {srcChroma_->u(0), srcChroma_->stride(), srcChroma_->mask()},
                                               {srcChroma_->v(0), srcChroma_->stride(), srcChroma_->mask()},
                                               {}}};
        const zimg_image_buffer to = {ZIMG_API_VERSION,
                                      {{dst_.y(), dst_.stride(), ZIMG_BUFFER_MAX},
                                       {dstChroma_->u(0), dstChroma_->stride(), dstChroma_->mask()},
                                       {dstChroma_->v(0), dstChroma_->stride(), dstChroma_->mask()},
                                       {}}};
        check(zimg_filter_graph_process(graph_.get(), &from, &to, working_->y(), split, this, merge, this));
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

    /// Before luma rows `row` and the next are read.
    static int split(void* self, unsigned row, unsigned left, unsigned right) {
        const auto* scaling = static_cast<const Scaling*>(self);
        const Picture& src = scaling->src_;
        const PlanarChroma& chroma = *scaling->srcChroma_;
        const Pairs pairs(left, right);
        libyuv::SplitUVPlane(src.uv() + static_cast<ptrdiff_t>(row / 2) * src.stride() + 2 * pairs.first,
                             src.stride(), chroma.u(row / 2) + pairs.first, chroma.stride(),
                             chroma.v(row / 2) + pairs.first, chroma.stride(), pairs.count, 1);
        return 0;
    }

    /// After luma rows `row` and the next have been written.
    static int merge(void* self, unsigned row, unsigned left, unsigned right) {
        const auto* scaling = static_cast<const Scaling*>(self);
        Picture& dst = scaling->dst_;
        const PlanarChroma& chroma = *scaling->dstChroma_;
        const Pairs pairs(left, right);
        libyuv::MergeUVPlane(chroma.u(row / 2) + pairs.first, chroma.stride(),
                             chroma.v(row / 2) + pairs.first, chroma.stride(),
                             dst.uv() + static_cast<ptrdiff_t>(row / 2) * dst.stride() + 2 * pairs.first,
                             dst.stride(), pairs.count, 1);
        return 0;
    }

    const Picture& src_;
    Picture& dst_;
    std::unique_ptr<zimg_filter_graph, decltype(&zimg_filter_graph_free)> graph_;
    std::unique_ptr<PlanarChroma> srcChroma_;
    std::unique_ptr<PlanarChroma> dstChroma_;
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
    // Without being asked, zimg stays with vectors of 32 bytes.
    return {"zimg",
            version(),
            {scaler("zimg bilinear", Filter::FewerTaps, ZIMG_RESIZE_BILINEAR, ZIMG_CPU_AUTO_64B),
             scaler("zimg bicubic", Filter::FourTaps, ZIMG_RESIZE_BICUBIC, ZIMG_CPU_AUTO_64B),
             scaler("zimg bicubic, 32-byte vectors", Filter::FourTaps, ZIMG_RESIZE_BICUBIC, ZIMG_CPU_AUTO)},
            {}};
}

}  // namespace vantor::bench
