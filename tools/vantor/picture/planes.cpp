#include "tools/vantor/picture/planes.h"

#include <libyuv.h>

#include <algorithm>
#include <cstring>

#include "bindings/c/vantor/vantor.h"
#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

constexpr uint8_t kNeutral = 128;

int half(int value) {
    return (value + 1) / 2;
}

size_t area(int stride, int rows) {
    return static_cast<size_t>(stride) * static_cast<size_t>(rows);
}

/// Consecutive rows of a frame.
struct Rows {
    uint8_t* first;
    int stride;
    int width;  ///< in bytes
    int height;
};

std::vector<Rows> rowsOf(const Planes& planes) {
    const Size chroma = planes.chromaSize();
    const auto [width, height] = planes.size;
    const int step = planes.format == PixelFormat::Rgb ? 3 : 1;
    std::vector<Rows> rows{{planes.luma, planes.lumaStride, step * width, height}};
    if (planes.format == PixelFormat::I420) {
        rows.push_back({planes.chroma, planes.chromaStride, chroma.width, chroma.height});
        rows.push_back({planes.second, planes.chromaStride, chroma.width, chroma.height});
    } else if (isSubsampled(planes.format)) {
        rows.push_back({planes.chroma, planes.chromaStride, 2 * chroma.width, chroma.height});
    }
    return rows;
}

vantor_rgb rgbView(const Planes& planes) {
    return {planes.size.width, planes.size.height, planes.luma, planes.lumaStride};
}

/// The upper left part of a picture in gray or NV12 that an RGB frame of a size fills.
vantor_image viewFor(const Planes& planes, Size frame) {
    const bool isGray = planes.format == PixelFormat::Gray;
    const Size size = isGray ? frame : frame.roundedUp(2, 2);
    return {isGray ? VANTOR_GRAY8 : VANTOR_NV12,
            size.width,
            size.height,
            {planes.luma, planes.chroma, nullptr},
            {planes.lumaStride, planes.chromaStride, 0}};
}

int encodingOf(const YuvColor& color) {
    if (color.isBt709) return color.isFullRange ? VANTOR_BT709_FULL : VANTOR_BT709_LIMITED;
    return color.isFullRange ? VANTOR_BT601_FULL : VANTOR_BT601_LIMITED;
}

void fromRgb(const Planes& from, const Planes& to, const YuvColor& color) {
    const vantor_image dst = viewFor(to, from.size);
    const vantor_rgb src = rgbView(from);
    expectDone(vantor_from_rgb(&dst, &src, encodingOf(color)));
}

void toRgb(const Planes& from, const Planes& to, const YuvColor& color) {
    const vantor_rgb dst = rgbView(to);
    const vantor_image src = viewFor(from, to.size);
    expectDone(vantor_to_rgb(&dst, &src, encodingOf(color)));
}

void fill(const Planes& planes) {
    for (const Rows& rows : rowsOf(planes)) {
        if (rows.first != planes.luma)
            libyuv::SetPlane(rows.first, rows.stride, rows.width, rows.height, kNeutral);
    }
}

void copyLuma(const Planes& from, const Planes& to, Size size) {
    if (from.luma == to.luma) return;
    libyuv::CopyPlane(from.luma, from.lumaStride, to.luma, to.lumaStride, size.width, size.height);
}

/// Chroma of `size` to NV12's pairs, or from them.
void moveChroma(const Planes& from, const Planes& to, Size size) {
    const auto [width, height] = size;
    if (from.chroma == to.chroma) return;
    if (from.format == PixelFormat::I420) {
        libyuv::MergeUVPlane(from.chroma, from.chromaStride, from.second, from.chromaStride, to.chroma,
                             to.chromaStride, width, height);
    } else if (to.format == PixelFormat::I420) {
        libyuv::SplitUVPlane(from.chroma, from.chromaStride, to.chroma, to.chromaStride, to.second,
                             to.chromaStride, width, height);
    } else if (from.format != to.format) {
        libyuv::SwapUVPlane(from.chroma, from.chromaStride, to.chroma, to.chromaStride, width, height);
    } else {
        libyuv::CopyPlane(from.chroma, from.chromaStride, to.chroma, to.chromaStride, 2 * width, height);
    }
}

/// Repeats the last of `content`'s columns, of `step` bytes, and then its last row.
void repeatEdges(const Rows& rows, int width, int height, int step) {
    for (int y = 0; y < height && width < rows.width; ++y) {
        uint8_t* row = rows.first + area(rows.stride, y);
        for (int x = width; x < rows.width; ++x) row[x] = row[x - step];
    }
    const uint8_t* last = rows.first + area(rows.stride, height - 1);
    for (int y = height; y < rows.height; ++y) {
        std::memcpy(rows.first + area(rows.stride, y), last, static_cast<size_t>(rows.width));
    }
}

}  // namespace

FrameShape packedShape(PixelFormat format, Size size) {
    const int step = format == PixelFormat::Rgb ? 3 : format == PixelFormat::P010 ? 2 : 1;
    return {format, size, step * size.width, size.height};
}

size_t FrameShape::bytes() const {
    const size_t luma = area(stride, sliceHeight);
    return isSubsampled(format) ? luma + 2 * area(half(stride), half(sliceHeight)) : luma;
}

bool FrameShape::isPacked() const {
    return stride == packedShape(format, size).stride && sliceHeight == size.height;
}

Planes planesIn(const FrameShape& shape, uint8_t* bytes) {
    Planes planes{shape.format, shape.size, bytes, shape.stride};
    if (!isSubsampled(shape.format)) return planes;
    const bool isPlanar = shape.format == PixelFormat::I420;
    planes.chroma = bytes + area(shape.stride, shape.sliceHeight);
    planes.chromaStride = isPlanar ? half(shape.stride) : 2 * half(shape.stride);
    if (isPlanar) planes.second = planes.chroma + area(planes.chromaStride, half(shape.sliceHeight));
    return planes;
}

Planes planesOf(Picture& picture) {
    return planesIn(packedShape(picture.format, picture.size), picture.bytes.data());
}

size_t bytesToLastSample(const FrameShape& shape) {
    const FrameShape used = packedShape(shape.format, shape.size);
    if (!isSubsampled(shape.format))
        return area(shape.stride, shape.size.height - 1) + static_cast<size_t>(used.stride);
    const int planes = shape.format == PixelFormat::I420 ? 2 : 1;
    const int unusedBytes = (half(shape.stride) - half(used.stride)) * 2 / planes;
    const size_t unusedRows =
        area(half(shape.stride) * 2 / planes, half(shape.sliceHeight) - half(used.sliceHeight));
    return shape.bytes() - unusedRows - static_cast<size_t>(unusedBytes);
}

void forEachStretch(const FrameShape& shape, uint8_t* frame,
                    const std::function<void(const uint8_t* bytes, size_t count)>& use) {
    if (shape.isPacked()) return use(frame, shape.bytes());
    for (const Rows& rows : rowsOf(planesIn(shape, frame))) {
        for (int y = 0; y < rows.height; ++y) {
            use(rows.first + area(rows.stride, y), static_cast<size_t>(rows.width));
        }
    }
}

const char* toString(const YuvColor& color) {
    if (color.isBt709) return color.isFullRange ? "BT.709, full range" : "BT.709, limited range";
    return color.isFullRange ? "BT.601, full range" : "BT.601, limited range";
}

void toWorking(const Planes& from, const Planes& to, const YuvColor& color) {
    if (from.format == PixelFormat::Rgb) {
        fromRgb(from, to, color);
    } else {
        copyLuma(from, to, from.size);
        if (from.format == PixelFormat::Gray) {
            fill(to);
        } else if (to.format == PixelFormat::Nv12) {
            moveChroma(from, to, from.chromaSize());
        }
    }
    const Size chroma = from.chromaSize();
    const std::vector<Rows> rows = rowsOf(to);
    repeatEdges(rows[0], from.size.width, from.size.height, 1);
    if (rows.size() > 1) repeatEdges(rows[1], 2 * chroma.width, chroma.height, 2);
}

void expandRange(const Planes& planes) {
    for (const Rows& rows : rowsOf(planes)) {
        const bool isLuma = rows.first == planes.luma;
        const int range = isLuma ? 219 : 224;
        const int zero = isLuma ? 16 : kNeutral;
        uint8_t full[256];
        for (int i = 0; i < 256; ++i) {
            const int value = (isLuma ? 0 : kNeutral) * range + (i - zero) * 255;
            full[i] = static_cast<uint8_t>(std::clamp((2 * value + range) / (2 * range), 0, 255));
        }
        for (int y = 0; y < rows.height; ++y) {
            uint8_t* row = rows.first + area(rows.stride, y);
            std::transform(row, row + rows.width, row, [&](uint8_t sample) { return full[sample]; });
        }
    }
}

void fromWorking(const Planes& from, const Planes& to, const YuvColor& color) {
    if (to.format == PixelFormat::Rgb) return toRgb(from, to, color);
    copyLuma(from, to, to.size);
    if (from.format == PixelFormat::Gray) {
        fill(to);
    } else if (to.format != PixelFormat::Gray) {
        moveChroma(from, to, to.chromaSize());
    }
}

}  // namespace vantor::tool
