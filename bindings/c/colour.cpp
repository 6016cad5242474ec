#include "bindings/c/colour.h"

#include <algorithm>
#include <utility>

#include "bindings/c/failure.h"
#include "bindings/c/picture_view.h"
#include "geometry/size.h"

namespace vantor::c {
namespace {

constexpr int kNeutral = 128;

/// Of one colour.
struct Rgb {
    uint8_t red;
    uint8_t green;
    uint8_t blue;
};

struct Chroma {
    uint8_t u;
    uint8_t v;
};

/// Four pixels that share their chroma: the upper two, then the lower two.
struct Block {
    const uint8_t* pixels[4];
};

uint8_t clampToByte(int value) {
    return static_cast<uint8_t>(std::clamp(value, 0, 255));
}

/// BT.601 in limited range, in integers: with weights in 1/256 to YUV, and in 1/64 to RGB.
struct IntegerEncoding {
    uint8_t luma(int red, int green, int blue) const {
        return static_cast<uint8_t>((66 * red + 129 * green + 25 * blue + 0x1080) >> 8);
    }

    /// Of the mean of the means of both columns, all of which round up.
    Chroma chroma(const Block& block) const {
        const auto mean = [](int a, int b) { return (a + b + 1) >> 1; };
        const auto& [leftTop, rightTop, leftBottom, rightBottom] = block.pixels;
        int rgb[3];
        for (int i = 0; i < 3; ++i)
            rgb[i] = mean(mean(leftTop[i], leftBottom[i]), mean(rightTop[i], rightBottom[i]));
        const auto [red, green, blue] = rgb;
        return {static_cast<uint8_t>((112 * blue - 74 * green - 38 * red + 0x8000) >> 8),
                static_cast<uint8_t>((112 * red - 94 * green - 18 * blue + 0x8000) >> 8)};
    }

    /// What chroma adds to red, green and blue.
    struct Tint {
        int red;
        int green;
        int blue;
    };

    Tint tint(const Chroma& chroma) const {
        const int u = chroma.u - kNeutral;
        const int v = chroma.v - kNeutral;
        return {102 * v, -25 * u - 52 * v, 128 * u};
    }

    Rgb rgb(int y, const Tint& tint) const {
        const int gray = ((y * 0x0101 * 18997) >> 16) - 1160;
        return {clampToByte((gray + tint.red) >> 6), clampToByte((gray + tint.green) >> 6),
                clampToByte((gray + tint.blue) >> 6)};
    }
};

uint8_t roundToByte(double value) {
    return static_cast<uint8_t>(std::clamp(value, 0.0, 255.0) + 0.5);
}

/// The other encodings, rounded to nearest.
class RealEncoding {
public:
    RealEncoding(bool isBt709, bool isFullRange)
        : red_(isBt709 ? 0.2126 : 0.299),
          blue_(isBt709 ? 0.0722 : 0.114),
          black_(isFullRange ? 0 : 16),
          lumaSteps_(isFullRange ? 255 : 219),
          chromaSteps_(isFullRange ? 255 : 224) {}

    uint8_t luma(int red, int green, int blue) const {
        return roundToByte(black_ + weighted(red, green, blue) * lumaSteps_ / 255);
    }

    Chroma chroma(const Block& block) const {
        double rgb[3];
        for (int i = 0; i < 3; ++i) {
            int sum = 0;
            for (const uint8_t* pixel : block.pixels) sum += pixel[i];
            rgb[i] = sum / 4.0;
        }
        const double luma = weighted(rgb[0], rgb[1], rgb[2]);
        const double scale = chromaSteps_ / 255 / 2;
        return {roundToByte(kNeutral + (rgb[2] - luma) / (1 - blue_) * scale),
                roundToByte(kNeutral + (rgb[0] - luma) / (1 - red_) * scale)};
    }

    /// What chroma adds to red and blue.
    struct Tint {
        double red;
        double blue;
    };

    Tint tint(const Chroma& chroma) const {
        const double scale = 2 * 255 / chromaSteps_;
        return {(chroma.v - kNeutral) * (1 - red_) * scale, (chroma.u - kNeutral) * (1 - blue_) * scale};
    }

    Rgb rgb(int y, const Tint& tint) const {
        const double luma = (y - black_) * 255 / lumaSteps_;
        const double blue = luma + tint.blue;
        const double red = luma + tint.red;
        return {roundToByte(red), roundToByte((luma - red_ * red - blue_ * blue) / (1 - red_ - blue_)),
                roundToByte(blue)};
    }

private:
    double weighted(double red, double green, double blue) const {
        return red_ * red + (1 - red_ - blue_) * green + blue_ * blue;
    }

    double red_;  ///< weights in luma
    double blue_;
    double black_;
    double lumaSteps_;  ///< from black to white
    double chromaSteps_;
};

/// Chroma, as pairs or in planes of its own. Without any it is neutral, and is not written.
struct ChromaRow {
    uint8_t* u;
    uint8_t* v;
    int step;

    ChromaRow(const vantor_image& image, int row) : u(nullptr), v(nullptr), step(2) {
        if (!hasChroma(image)) return;
        u = image.plane[1] + row * image.stride[1];
        v = u + 1;
        if (image.format == VANTOR_NV21) std::swap(u, v);
        if (image.format != VANTOR_I420) return;
        v = image.plane[2] + row * image.stride[2];
        step = 1;
    }

    Chroma at(int column) const {
        return u ? Chroma{u[column * step], v[column * step]} : Chroma{kNeutral, kNeutral};
    }
};

const uint8_t* rowOf(const vantor_rgb& rgb, int row) {
    return rgb.pixels + std::min(row, rgb.height - 1) * rgb.stride;
}

/// The last pixel is repeated where `dst` has one more.
template <typename Encoding>
void encodeLuma(const Encoding& encoding, const vantor_image& dst, const vantor_rgb& src) {
    for (int row = 0; row < dst.height; ++row) {
        const uint8_t* pixel = rowOf(src, row);
        uint8_t* const luma = dst.plane[0] + row * dst.stride[0];
        for (int x = 0; x < src.width; ++x, pixel += 3) luma[x] = encoding.luma(pixel[0], pixel[1], pixel[2]);
        if (src.width < dst.width) luma[src.width] = luma[src.width - 1];
    }
}

template <typename Encoding>
void encodeChroma(const Encoding& encoding, const vantor_image& dst, const vantor_rgb& src) {
    for (int row = 0; row < dst.height / 2; ++row) {
        const uint8_t* const top = rowOf(src, 2 * row);
        const uint8_t* const bottom = rowOf(src, 2 * row + 1);
        const ChromaRow chroma(dst, row);
        for (int x = 0; x < dst.width / 2; ++x) {
            const int left = 3 * (2 * x);
            const int right = 3 * std::min(2 * x + 1, src.width - 1);
            const auto [u, v] = encoding.chroma({{top + left, top + right, bottom + left, bottom + right}});
            chroma.u[x * chroma.step] = u;
            chroma.v[x * chroma.step] = v;
        }
    }
}

template <typename Encoding>
void decode(const Encoding& encoding, const vantor_rgb& dst, int pixelBytes, const vantor_image& src) {
    for (int row = 0; row < dst.height; ++row) {
        const uint8_t* const luma = src.plane[0] + row * src.stride[0];
        const ChromaRow chroma(src, row / 2);
        uint8_t* pixel = dst.pixels + row * dst.stride;
        for (int left = 0; left < dst.width; left += 2) {
            const auto tint = encoding.tint(chroma.at(left / 2));
            for (int x = left; x < std::min(left + 2, dst.width); ++x, pixel += pixelBytes) {
                const auto [red, green, blue] = encoding.rgb(luma[x], tint);
                pixel[0] = red;
                pixel[1] = green;
                pixel[2] = blue;
            }
        }
    }
}

template <typename Use>
void withEncoding(int encoding, const Use& use) {
    switch (encoding) {
        case VANTOR_BT601_LIMITED:
            return use(IntegerEncoding());
        case VANTOR_BT709_LIMITED:
            return use(RealEncoding(true, false));
        case VANTOR_BT601_FULL:
            return use(RealEncoding(false, true));
        case VANTOR_BT709_FULL:
            return use(RealEncoding(true, true));
    }
    throw invalid("encoding %d, expected %d to %d", encoding, VANTOR_BT601_LIMITED, VANTOR_BT709_FULL);
}

PlaneView planeOf(const vantor_rgb& rgb) {
    return {rgb.pixels, rgb.stride, 3 * rgb.width, rgb.height};
}

void checkRgb(const char* name, const vantor_rgb* rgb) {
    checkPointer(name, rgb);
    checkSide(name, "width", rgb->width, kScaleLimit.width, false);
    checkSide(name, "height", rgb->height, kScaleLimit.height, false);
    checkPlane(name, "pixels", "stride", planeOf(*rgb));
}

/// Throws a Failure where the two cannot be the same picture, or share memory.
void checkPair(const vantor_image& image, const char* imageName, const vantor_rgb& rgb, const char* rgbName) {
    const int step = hasChroma(image) ? 2 : 1;
    const Size expected = Size{rgb.width, rgb.height}.roundedUp(step, step);
    if (image.width != expected.width || image.height != expected.height) {
        throw invalid("%s: %dx%d, expected %dx%d for that of %s, %dx%d", imageName, image.width, image.height,
                      expected.width, expected.height, rgbName, rgb.width, rgb.height);
    }
    for (int i = 0; i < planeCount(image); ++i) {
        if (overlap(planeView(image, i), planeOf(rgb)))
            throw invalid("dst: plane %d of the picture overlaps the RGB pixels", i);
    }
}

}  // namespace

void decodePixels(const vantor_rgb& dst, int pixelBytes, const vantor_image& src, int encoding) {
    withEncoding(encoding, [&](const auto& decoder) { decode(decoder, dst, pixelBytes, src); });
}

}  // namespace vantor::c

using namespace vantor::c;

int vantor_from_rgb(const vantor_image* dst, const vantor_rgb* src, int encoding) {
    return guarded(nullptr, [&] {
        checkDestination(dst, kScaleLimit);
        checkRgb("src", src);
        checkPair(*dst, "dst", *src, "src");
        withEncoding(encoding, [&](const auto& encoder) {
            encodeLuma(encoder, *dst, *src);
            if (hasChroma(*dst)) encodeChroma(encoder, *dst, *src);
        });
    });
}

int vantor_to_rgb(const vantor_rgb* dst, const vantor_image* src, int encoding) {
    return guarded(nullptr, [&] {
        checkRgb("dst", dst);
        checkImage("src", src, kScaleLimit);
        checkPair(*src, "src", *dst, "dst");
        decodePixels(*dst, 3, *src, encoding);
    });
}
