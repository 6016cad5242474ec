#include "tools/vantor/picture/planes.h"

#include <libyuv.h>

#include <algorithm>
#include <cmath>
#include <cstring>

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

/// The weights of red and blue in luma, and the steps from black to white and between the ends of chroma.
struct Weights {
    double red, blue, black, lumaSteps, chromaSteps;

    explicit Weights(const YuvColor& color)
        : red(color.isBt709 ? 0.2126 : 0.299),
          blue(color.isBt709 ? 0.0722 : 0.114),
          black(color.isFullRange ? 0 : 16),
          lumaSteps(color.isFullRange ? 255 : 219),
          chromaSteps(color.isFullRange ? 255 : 224) {}

    double luma(const double* rgb) const { return red * rgb[0] + (1 - red - blue) * rgb[1] + blue * rgb[2]; }
};

uint8_t toByte(double value) {
    return static_cast<uint8_t>(std::lround(std::clamp(value, 0.0, 255.0)));
}

/// For the colours that libyuv does not convert from RGB, or with truncated coefficients. Chroma is
/// that of the mean of four pixels.
void rgbToYuv(const Planes& from, const Planes& to, const Weights& weights) {
    const auto pixel = [&](int x, int y) { return from.luma + area(from.lumaStride, y) + 3 * x; };
    const auto [width, height] = from.size;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const double rgb[] = {1.0 * pixel(x, y)[0], 1.0 * pixel(x, y)[1], 1.0 * pixel(x, y)[2]};
            to.luma[area(to.lumaStride, y) + static_cast<size_t>(x)] =
                toByte(weights.black + weights.luma(rgb) * weights.lumaSteps / 255);
        }
    }
    if (to.format != PixelFormat::Nv12) return;
    const Size chroma = from.chromaSize();
    for (int y = 0; y < chroma.height; ++y) {
        uint8_t* pair = to.chroma + area(to.chromaStride, y);
        for (int x = 0; x < chroma.width; ++x, pair += 2) {
            const int right = std::min(2 * x + 1, width - 1);
            const int below = std::min(2 * y + 1, height - 1);
            double rgb[3];
            for (int i = 0; i < 3; ++i) {
                rgb[i] = (pixel(2 * x, 2 * y)[i] + pixel(right, 2 * y)[i] + pixel(2 * x, below)[i] +
                          pixel(right, below)[i]) /
                         4.0;
            }
            const double scale = weights.chromaSteps / 255 / 2;
            pair[0] = toByte(kNeutral + (rgb[2] - weights.luma(rgb)) / (1 - weights.blue) * scale);
            pair[1] = toByte(kNeutral + (rgb[0] - weights.luma(rgb)) / (1 - weights.red) * scale);
        }
    }
}

void fromRgb(const Planes& from, const Planes& to, const YuvColor& color) {
    if (color.isBt709 || color.isFullRange) return rgbToYuv(from, to, Weights(color));
    const auto [width, height] = from.size;
    std::vector<uint8_t> argb(4 * from.size.pixels());
    libyuv::RAWToARGB(from.luma, from.lumaStride, argb.data(), 4 * width, width, height);
    if (to.format == PixelFormat::Gray) {
        libyuv::ARGBToI400(argb.data(), 4 * width, to.luma, to.lumaStride, width, height);
        return;
    }
    // Not ARGBToNV12: it allocates memory without checking for failure.
    const Size chroma = from.chromaSize();
    std::vector<uint8_t> u(chroma.pixels());
    std::vector<uint8_t> v(chroma.pixels());
    libyuv::ARGBToI420(argb.data(), 4 * width, to.luma, to.lumaStride, u.data(), chroma.width, v.data(),
                       chroma.width, width, height);
    libyuv::MergeUVPlane(u.data(), chroma.width, v.data(), chroma.width, to.chroma, to.chromaStride,
                         chroma.width, chroma.height);
}

void yuvToRgb(const Planes& from, const Planes& to, const Weights& weights) {
    for (int y = 0; y < to.size.height; ++y) {
        uint8_t* rgb = to.luma + area(to.lumaStride, y);
        for (int x = 0; x < to.size.width; ++x, rgb += 3) {
            const uint8_t* pair = from.chroma + area(from.chromaStride, y / 2) + x / 2 * 2;
            const double luma =
                (from.luma[area(from.lumaStride, y) + static_cast<size_t>(x)] - weights.black) * 255 /
                weights.lumaSteps;
            const double scale = 2 * 255 / weights.chromaSteps;
            const double blue = luma + (pair[0] - kNeutral) * (1 - weights.blue) * scale;
            const double red = luma + (pair[1] - kNeutral) * (1 - weights.red) * scale;
            rgb[0] = toByte(red);
            rgb[1] =
                toByte((luma - weights.red * red - weights.blue * blue) / (1 - weights.red - weights.blue));
            rgb[2] = toByte(blue);
        }
    }
}

/// From NV12. libyuv calls R, G, B in this order RAW.
void toRgb(const Planes& from, const Planes& to, const YuvColor& color) {
    if (color.isBt709 || color.isFullRange) return yuvToRgb(from, to, Weights(color));
    libyuv::NV12ToRAW(from.luma, from.lumaStride, from.chroma, from.chromaStride, to.luma, to.lumaStride,
                      to.size.width, to.size.height);
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
    return {format, size, format == PixelFormat::Rgb ? 3 * size.width : size.width, size.height};
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
