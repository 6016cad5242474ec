#include "tools/vantor/io/picture.h"

#include <libyuv.h>

#include <algorithm>
#include <charconv>

#include "tools/vantor/io/error.h"

namespace vantor::tool {
namespace {

uint8_t* luma(Picture& picture) {
    return picture.bytes.data();
}

/// NV12's chroma plane, or the first of I420's.
uint8_t* chroma(Picture& picture) {
    return luma(picture) + picture.size.pixels();
}

/// The second of I420's chroma planes.
uint8_t* secondChroma(Picture& picture) {
    return chroma(picture) + picture.size.pixels() / 4;
}

Picture rgbToNv12(const Picture& rgb) {
    const auto [width, height] = rgb.size;
    std::vector<uint8_t> argb(4 * rgb.size.pixels());
    libyuv::RAWToARGB(rgb.bytes.data(), 3 * width, argb.data(), 4 * width, width, height);
    Picture nv12 = makePicture(Layout::Nv12, rgb.size);
    libyuv::ARGBToNV12(argb.data(), 4 * width, luma(nv12), width, chroma(nv12), width, width, height);
    return nv12;
}

Picture toNv12(Picture picture) {
    if (picture.layout == Layout::Nv12) return picture;
    if (picture.layout == Layout::Rgb) {
        return rgbToNv12(picture.size.isEven() ? picture : onCanvas(picture, picture.size.roundedUp(2, 2)));
    }
    const auto [width, height] = picture.size;
    Picture nv12 = makePicture(Layout::Nv12, picture.size);
    if (picture.layout == Layout::I420) {
        libyuv::I420ToNV12(luma(picture), width, chroma(picture), width / 2, secondChroma(picture), width / 2,
                           luma(nv12), width, chroma(nv12), width, width, height);
    } else {
        std::copy(picture.bytes.begin(), picture.bytes.end(), nv12.bytes.begin());
        std::fill(nv12.bytes.begin() + static_cast<std::ptrdiff_t>(picture.bytes.size()), nv12.bytes.end(),
                  uint8_t{128});
    }
    return nv12;
}

Picture fromNv12(Picture nv12, Layout layout) {
    if (layout == Layout::Nv12) return nv12;
    const auto [width, height] = nv12.size;
    Picture picture = makePicture(layout, nv12.size);
    if (layout == Layout::Rgb) {
        libyuv::NV12ToRAW(luma(nv12), width, chroma(nv12), width, luma(picture), 3 * width, width, height);
    } else if (layout == Layout::I420) {
        libyuv::NV12ToI420(luma(nv12), width, chroma(nv12), width, luma(picture), width, chroma(picture),
                           width / 2, secondChroma(picture), width / 2, width, height);
    } else {
        std::copy_n(nv12.bytes.begin(), picture.bytes.size(), picture.bytes.begin());
    }
    return picture;
}

}  // namespace

std::string toString(Size size) {
    return std::to_string(size.width) + "x" + std::to_string(size.height);
}

Size parseSize(const std::string& what, const std::string& text) {
    const char* end = text.data() + text.size();
    Size size{};
    const auto width = std::from_chars(text.data(), end, size.width);
    const bool hasCross = width.ec == std::errc() && width.ptr != end && *width.ptr == 'x';
    const auto height = std::from_chars(hasCross ? width.ptr + 1 : end, end, size.height);
    if (!hasCross || height.ec != std::errc() || height.ptr != end) {
        throw UserError(what + " " + text + ": expected WIDTHxHEIGHT, such as 1280x720");
    }
    checkLimits(what, size);
    return size;
}

void checkLimits(const std::string& what, Size size) {
    const auto isWithin = [](int side) { return side >= kSmallestSide && side <= kLargestSide; };
    if (isWithin(size.width) && isWithin(size.height)) return;
    throw UserError(what + " " + toString(size) + ": width and height must be from " +
                    std::to_string(kSmallestSide) + " to " + std::to_string(kLargestSide));
}

const char* toString(Layout layout) {
    switch (layout) {
        case Layout::Gray:
            return "gray";
        case Layout::Nv12:
            return "nv12";
        case Layout::I420:
            return "i420";
        case Layout::Rgb:
            break;
    }
    return "rgb";
}

bool isSubsampled(Layout layout) {
    return layout == Layout::Nv12 || layout == Layout::I420;
}

size_t byteCount(Layout layout, Size size) {
    if (layout == Layout::Rgb) return 3 * size.pixels();
    return isSubsampled(layout) ? size.pixels() + size.pixels() / 2 : size.pixels();
}

Picture makePicture(Layout layout, Size size) {
    return {layout, size, std::vector<uint8_t>(byteCount(layout, size))};
}

std::vector<Component> components(const Picture& picture) {
    const Size size = picture.size;
    const Size half{size.width / 2, size.height / 2};
    const auto width = static_cast<size_t>(size.width);
    const uint8_t* bytes = picture.bytes.data();
    const uint8_t* chroma = bytes + size.pixels();
    const Component luma{"Y", bytes, size, 1, width};
    switch (picture.layout) {
        case Layout::Gray:
            break;
        case Layout::Nv12:
            return {luma, {"U", chroma, half, 2, width}, {"V", chroma + 1, half, 2, width}};
        case Layout::I420:
            return {
                luma, {"U", chroma, half, 1, width / 2}, {"V", chroma + half.pixels(), half, 1, width / 2}};
        case Layout::Rgb:
            return {{"R", bytes, size, 3, 3 * width},
                    {"G", bytes + 1, size, 3, 3 * width},
                    {"B", bytes + 2, size, 3, 3 * width}};
    }
    return {luma};
}

Picture onCanvas(const Picture& picture, Size size) {
    Picture canvas = makePicture(picture.layout, size);
    const std::vector<Component> from = components(picture);
    const std::vector<Component> to = components(canvas);
    for (size_t i = 0; i < from.size(); ++i) {
        const Size last{from[i].size.width - 1, from[i].size.height - 1};
        for (int y = 0; y < to[i].size.height; ++y) {
            uint8_t* out = canvas.bytes.data() + (to[i].row(y) - canvas.bytes.data());
            for (int x = 0; x < to[i].size.width; ++x, out += to[i].step) {
                *out = static_cast<uint8_t>(from[i].at(std::min(x, last.width), std::min(y, last.height)));
            }
        }
    }
    return canvas;
}

Picture convert(Picture picture, Layout layout) {
    if (picture.layout == layout) return picture;
    const Size size = picture.size;
    Picture converted = fromNv12(toNv12(std::move(picture)), layout);
    if (converted.size == size) return converted;
    if (!isSubsampled(layout)) return onCanvas(converted, size);
    note("picture of " + toString(size) +
         ": chroma needs even sizes, so the last column or row is repeated (" + toString(converted.size) +
         ")");
    return converted;
}

}  // namespace vantor::tool
