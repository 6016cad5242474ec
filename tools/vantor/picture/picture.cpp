#include "tools/vantor/picture/picture.h"

#include <charconv>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

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
    const auto isWithin = [](int side) { return side >= kMinSide && side <= kMaxSide; };
    if (isWithin(size.width) && isWithin(size.height)) return;
    throw UserError(what + " " + toString(size) + ": width and height must be from " +
                    std::to_string(kMinSide) + " to " + std::to_string(kMaxSide));
}

const char* toString(PixelFormat format) {
    switch (format) {
        case PixelFormat::Gray:
            return "gray";
        case PixelFormat::Nv12:
            return "nv12";
        case PixelFormat::Nv21:
            return "nv21";
        case PixelFormat::I420:
            return "i420";
        case PixelFormat::P010:
            return "p010";
        case PixelFormat::Rgb:
            break;
    }
    return "rgb";
}

bool isSubsampled(PixelFormat format) {
    return format == PixelFormat::Nv12 || format == PixelFormat::Nv21 || format == PixelFormat::I420 ||
           format == PixelFormat::P010;
}

size_t byteCount(PixelFormat format, Size size) {
    return packedShape(format, size).bytes();
}

Picture makePicture(PixelFormat format, Size size) {
    return {format, size, std::vector<uint8_t>(byteCount(format, size))};
}

std::vector<Component> components(const Picture& picture) {
    const Size size = picture.size;
    const Size half{(size.width + 1) / 2, (size.height + 1) / 2};
    const auto width = static_cast<size_t>(size.width);
    const auto halfWidth = static_cast<size_t>(half.width);
    const uint8_t* bytes = picture.bytes.data();
    const uint8_t* chroma = bytes + size.pixels();
    const Component luma{"Y", bytes, size, 1, width};
    switch (picture.format) {
        case PixelFormat::Gray:
        case PixelFormat::P010:  // never in memory
            break;
        case PixelFormat::Nv12:
            return {luma, {"U", chroma, half, 2, 2 * halfWidth}, {"V", chroma + 1, half, 2, 2 * halfWidth}};
        case PixelFormat::Nv21:
            return {luma, {"U", chroma + 1, half, 2, 2 * halfWidth}, {"V", chroma, half, 2, 2 * halfWidth}};
        case PixelFormat::I420:
            return {
                luma, {"U", chroma, half, 1, halfWidth}, {"V", chroma + half.pixels(), half, 1, halfWidth}};
        case PixelFormat::Rgb:
            return {{"R", bytes, size, 3, 3 * width},
                    {"G", bytes + 1, size, 3, 3 * width},
                    {"B", bytes + 2, size, 3, 3 * width}};
    }
    return {luma};
}

Size evenSize(Size size) {
    const Size even = size.roundedUp(2, 2);
    if (!(even == size)) {
        note("picture of " + toString(size) +
             ": chroma needs even sizes, so the last column or row is repeated (" + toString(even) + ")");
    }
    return even;
}

Picture convert(Picture picture, PixelFormat format) {
    if (picture.format == format) return picture;
    const Size size = isSubsampled(format) ? evenSize(picture.size) : picture.size;
    const YuvColor color{false, picture.isFullRange};
    Picture nv12 = makePicture(PixelFormat::Nv12, size.roundedUp(2, 2));
    nv12.isFullRange = picture.isFullRange;
    toWorking(planesOf(picture), planesOf(nv12), color);
    if (format == PixelFormat::Nv12) return nv12;
    Picture converted = makePicture(format, size);
    converted.isFullRange = picture.isFullRange;
    fromWorking(planesOf(nv12), planesOf(converted), color);
    return converted;
}

}  // namespace vantor::tool
