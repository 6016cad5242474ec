#include "bindings/gstreamer/even_pictures.h"

#include <cstring>

namespace vantor::gstreamer {
namespace {

bool isEven(const vantor_image& image) {
    return image.format == VANTOR_GRAY8 || (image.width % 2 == 0 && image.height % 2 == 0);
}

/// The picture with even sides, and its luma in `memory`, not yet written.
vantor_image evened(const vantor_image& odd, std::vector<uint8_t>& memory) {
    vantor_image even = odd;
    even.width += odd.width % 2;
    even.height += odd.height % 2;
    memory.resize(static_cast<size_t>(even.width) * static_cast<size_t>(even.height));
    even.plane[0] = memory.data();
    even.stride[0] = even.width;
    return even;
}

void copyLuma(const vantor_image& dst, const vantor_image& src, int width, int height) {
    for (int row = 0; row < height; ++row) {
        std::memcpy(dst.plane[0] + row * dst.stride[0], src.plane[0] + row * src.stride[0],
                    static_cast<size_t>(width));
    }
}

void repeatLast(const vantor_image& even, int width, int height) {
    for (int row = 0; row < height && width != even.width; ++row) {
        uint8_t* const end = even.plane[0] + row * even.stride[0] + width;
        end[0] = end[-1];
    }
    if (height == even.height) return;
    uint8_t* const last = even.plane[0] + height * even.stride[0];
    std::memcpy(last, last - even.stride[0], static_cast<size_t>(even.width));
}

}  // namespace

void EvenPictures::run(const vantor_image& dst, const vantor_image& src, const Call& call) {
    vantor_image from = src;
    if (!isEven(src)) {
        from = evened(src, srcLuma_);
        copyLuma(from, src, src.width, src.height);
        repeatLast(from, src.width, src.height);
    }
    if (isEven(dst)) return call(dst, from);
    const vantor_image to = evened(dst, dstLuma_);
    call(to, from);
    copyLuma(dst, to, dst.width, dst.height);
}

}  // namespace vantor::gstreamer
