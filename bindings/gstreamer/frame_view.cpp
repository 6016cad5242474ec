#include "bindings/gstreamer/frame_view.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace vantor::gstreamer {
namespace {

int32_t formatOf(const GstVideoInfo& info) {
    switch (GST_VIDEO_INFO_FORMAT(&info)) {
        case GST_VIDEO_FORMAT_NV12:
            return VANTOR_NV12;
        case GST_VIDEO_FORMAT_NV21:
            return VANTOR_NV21;
        case GST_VIDEO_FORMAT_I420:
            return VANTOR_I420;
        default:
            return VANTOR_GRAY8;
    }
}

/// Planes of a format; chroma has half the columns and rows, rounded up.
int planeCount(int32_t format) {
    return format == VANTOR_GRAY8 ? 1 : format == VANTOR_I420 ? 3 : 2;
}

/// A part of a plane.
struct PlanePart {
    std::ptrdiff_t x;  ///< in bytes
    std::ptrdiff_t y;
    std::ptrdiff_t rowBytes;
    std::ptrdiff_t rows;
};

PlanePart partOf(int32_t format, int plane, const vantor_rect& part) {
    if (plane == 0) return {part.x, part.y, part.width, part.height};
    const int bytes = format == VANTOR_I420 ? 1 : 2;
    return {part.x / 2 * bytes, part.y / 2, (part.width + 1) / 2 * bytes, (part.height + 1) / 2};
}

void checkPlane(const GstVideoFrame& frame, int plane, const PlanePart& whole) {
    const GstMapInfo& memory = frame.map[frame.meta ? plane : 0];
    const int64_t stride = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
    const auto* const data = static_cast<const uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane));
    const int64_t begin = data - memory.data;
    const int64_t end = begin + stride * (whole.rows - 1) + whole.rowBytes;
    if (begin >= 0 && stride >= whole.rowBytes && end <= static_cast<int64_t>(memory.size)) return;
    throw std::runtime_error("plane " + std::to_string(plane) +
                             " of a buffer: " + std::to_string(whole.rows) + " rows of " +
                             std::to_string(whole.rowBytes) + " bytes with stride " + std::to_string(stride) +
                             " are not all in its memory of " + std::to_string(memory.size) + " bytes");
}

}  // namespace

vantor_image viewOf(const GstVideoFrame& frame, const GstVideoInfo& negotiated, const vantor_rect& part) {
    vantor_image image{};
    image.format = formatOf(negotiated);
    image.width = part.width;
    image.height = part.height;
    if (GST_VIDEO_FRAME_FORMAT(&frame) != GST_VIDEO_INFO_FORMAT(&negotiated))
        throw std::runtime_error("a buffer is not of the negotiated format");
    const vantor_rect whole{0, 0, GST_VIDEO_INFO_WIDTH(&negotiated), GST_VIDEO_INFO_HEIGHT(&negotiated)};
    for (int plane = 0; plane < planeCount(image.format); ++plane) {
        checkPlane(frame, plane, partOf(image.format, plane, whole));
        const PlanePart in = partOf(image.format, plane, part);
        image.stride[plane] = GST_VIDEO_FRAME_PLANE_STRIDE(&frame, plane);
        image.plane[plane] = static_cast<uint8_t*>(GST_VIDEO_FRAME_PLANE_DATA(&frame, plane)) +
                             in.y * image.stride[plane] + in.x;
    }
    return image;
}

vantor_image viewOf(const GstVideoFrame& frame, const GstVideoInfo& negotiated) {
    return viewOf(frame, negotiated,
                  {0, 0, GST_VIDEO_INFO_WIDTH(&negotiated), GST_VIDEO_INFO_HEIGHT(&negotiated)});
}

void blackenAround(const vantor_image& whole, const vantor_rect& part, bool isFullRange) {
    for (int plane = 0; plane < planeCount(whole.format); ++plane) {
        const int black = plane > 0 ? 128 : isFullRange ? 0 : 16;
        const PlanePart all = partOf(whole.format, plane, {0, 0, whole.width, whole.height});
        const PlanePart kept = partOf(whole.format, plane, part);
        for (std::ptrdiff_t y = 0; y < all.rows; ++y) {
            uint8_t* const row = whole.plane[plane] + y * whole.stride[plane];
            const bool isBeside = y >= kept.y && y < kept.y + kept.rows;
            const std::ptrdiff_t left = isBeside ? kept.x : all.rowBytes;
            const std::ptrdiff_t right = isBeside ? kept.x + kept.rowBytes : all.rowBytes;
            std::memset(row, black, static_cast<size_t>(left));
            std::memset(row + right, black, static_cast<size_t>(all.rowBytes - right));
        }
    }
}

}  // namespace vantor::gstreamer
