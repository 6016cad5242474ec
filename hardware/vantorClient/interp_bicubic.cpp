#include <cstddef>
#include <cstring>

#include "hardware/vantorClient/log.h"
#include "hardware/vantorClient/status.h"
#include "hardware/vantorClient/vantor_client.h"
#include "processor/float_rounding.h"
#include "scaler/interp4.h"
#include "scaler/interpolate.h"

namespace hardware {
namespace {

using BufferData = vantorClient::BufferData;

int64_t lumaBytes(const BufferData& image) {
    return image.width > 0 && image.height > 0 ? int64_t{image.width} * image.height : 0;
}

uint8_t* chromaPlane(const BufferData& image) {
    return image.uv ? image.uv : image.y + lumaBytes(image);
}

void copyBytes(uint8_t* dst, const uint8_t* src, int64_t bytes) {
    // Requests in place are common: the pictures may overlap.
    if (bytes > 0) std::memmove(dst, src, static_cast<std::size_t>(bytes));
}

bool isNv12Complete(const BufferData& dst, const BufferData& src) {
    return dst.y && src.y && (dst.uv == nullptr) == (src.uv == nullptr);
}

int32_t invalidPlanes(vantor::LogLine line, const BufferData& dst, const BufferData& src) {
    VANTOR_LOG_ERROR("runInterpBicubic", line,
                     "Invalid arguments [src.y=%p / src.uv=%p / dst.y=%p / dst.uv=%p]",
                     static_cast<void*>(src.y), static_cast<void*>(src.uv), static_cast<void*>(dst.y),
                     static_cast<void*>(dst.uv));
    return kFailure;
}

int32_t copy(const BufferData& dst, const BufferData& src, int32_t format) {
    const int64_t luma = lumaBytes(dst);
    if (format == IMAGE_FORMAT_GRAYSCALE) {
        copyBytes(dst.y, src.y, luma);
        return kSuccess;
    }
    if (!isNv12Complete(dst, src)) return invalidPlanes(vantor::kLineSameSizeArguments, dst, src);
    if (dst.uv) {
        copyBytes(dst.y, src.y, luma);
        copyBytes(dst.uv, src.uv, luma >> 1);
    } else {
        copyBytes(dst.y, src.y, luma + (luma >> 1));
    }
    return kSuccess;
}

int32_t enlarge(const BufferData& dst, const BufferData& src, int32_t format) {
    const bool lumaOnly = format == IMAGE_FORMAT_GRAYSCALE;
    if (!lumaOnly && !isNv12Complete(dst, src))
        return invalidPlanes(vantor::kLineEnlargementArguments, dst, src);
    Interp4_process(src.y, lumaOnly ? src.uv : chromaPlane(src), dst.y, lumaOnly ? dst.uv : chromaPlane(dst),
                    src.width, src.height, src.width, dst.width, dst.height, dst.width, 0, 0, src.width,
                    src.height, lumaOnly);
    return kSuccess;
}

int32_t reduce(const BufferData& dst, const BufferData& src, int32_t format) {
    Interpolate_process(src.y, chromaPlane(src), dst.y, chromaPlane(dst), src.width, src.height, src.width,
                        dst.width, dst.height, dst.width, 0, 0, src.width, src.height, 0, 0, dst.width,
                        dst.height, format == IMAGE_FORMAT_GRAYSCALE);
    return kSuccess;
}

}  // namespace

int32_t vantorClient::runInterpBicubic(const BufferData& dst, const BufferData& src, int32_t format) {
    if (format != IMAGE_FORMAT_GRAYSCALE && format != IMAGE_FORMAT_NV12) return kFailure;
    const float scaleW = static_cast<float>(dst.width) / static_cast<float>(src.width);
    const float scaleH = static_cast<float>(dst.height) / static_cast<float>(src.height);
    if (scaleW == 1.0F && scaleH == 1.0F) return copy(dst, src, format);
    if (scaleW > 1.0F || scaleH > 1.0F) return enlarge(dst, src, format);
    return reduce(dst, src, format);
}

}  // namespace hardware
