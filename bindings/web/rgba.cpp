#include "bindings/web/rgba.h"

#include <cstddef>

#include "bindings/c/colour.h"
#include "bindings/c/picture_view.h"
#if defined(__wasm_simd128__)
#include "processor/lanes_wasm.h"
#endif

namespace vantor::web {
namespace {

constexpr int kPixelBytes = 4;

vantor_image partOf(vantor_image image, const vantor_rect& part) {
    image.width = part.width;
    image.height = part.height;
    image.plane[0] += part.y * image.stride[0] + part.x;
    if (c::hasChroma(image)) image.plane[1] += part.y / 2 * image.stride[1] + part.x;
    return image;
}

#if defined(__wasm_simd128__)

constexpr int kColumns = 8;

/// Eight pixels in VANTOR_BT601_LIMITED. All sums fit 16 bits but those of blue, which saturate beyond white.
void decodeColumns(const uint8_t* luma, const uint8_t* pairs, uint8_t* rgba) {
    using L = WasmLanes;
    const auto y = L::multiply16(wasm_u16x8_load8x8(luma), L::broadcast16(0x0101));
    const auto gray =
        L::subtract16(L::multiplyHighUnsigned16(y, L::broadcast16(18997)), L::broadcast16(1160));
    const auto uv = L::subtract16(wasm_u16x8_load8x8(pairs), L::broadcast16(128));
    const auto u = wasm_i16x8_shuffle(uv, uv, 0, 0, 2, 2, 4, 4, 6, 6);
    const auto v = wasm_i16x8_shuffle(uv, uv, 1, 1, 3, 3, 5, 5, 7, 7);
    const auto times = [](v128_t a, int factor) { return L::multiply16(a, L::broadcast16(factor)); };
    const auto red = L::shiftRightSigned16<6>(L::add16(gray, times(v, 102)));
    const auto green =
        L::shiftRightSigned16<6>(L::subtract16(L::subtract16(gray, times(u, 25)), times(v, 52)));
    const auto blue = L::shiftRightSigned16<6>(wasm_i16x8_add_sat(gray, L::shiftLeft16<7>(u)));
    const auto redGreen = wasm_u8x16_narrow_i16x8(red, green);
    const auto blueAlpha = wasm_u8x16_narrow_i16x8(blue, L::broadcast16(255));
    L::store(rgba, wasm_i8x16_shuffle(redGreen, blueAlpha, 0, 8, 16, 24, 1, 9, 17, 25, 2, 10, 18, 26, 3, 11,
                                      19, 27));
    L::store(rgba + 16, wasm_i8x16_shuffle(redGreen, blueAlpha, 4, 12, 20, 28, 5, 13, 21, 29, 6, 14, 22, 30,
                                           7, 15, 23, 31));
}

/// Returns how many columns it has decoded.
int decodeByVectors(const vantor_image& image, int encoding, uint8_t* rgba) {
    if (!c::hasChroma(image) || encoding != VANTOR_BT601_LIMITED) return 0;
    const int columns = image.width / kColumns * kColumns;
    for (int row = 0; row < image.height; ++row) {
        const uint8_t* const luma = image.plane[0] + row * image.stride[0];
        const uint8_t* const pairs = image.plane[1] + row / 2 * image.stride[1];
        uint8_t* const out = rgba + kPixelBytes * row * image.width;
        for (int x = 0; x < columns; x += kColumns) decodeColumns(luma + x, pairs + x, out + kPixelBytes * x);
    }
    return columns;
}

#else

int decodeByVectors(const vantor_image&, int, uint8_t*) {
    return 0;
}

#endif

}  // namespace

void toRgba(const vantor_image& image, const vantor_rect& part, int encoding, uint8_t* rgba) {
    const vantor_image shown = partOf(image, part);
    const int decoded = decodeByVectors(shown, encoding, rgba);
    const vantor_image rest = partOf(shown, {decoded, 0, shown.width - decoded, shown.height});
    if (rest.width == 0) return;
    const std::ptrdiff_t stride = kPixelBytes * std::ptrdiff_t{shown.width};
    rgba += kPixelBytes * decoded;
    for (int row = 0; row < rest.height; ++row) {
        for (int x = 0; x < rest.width; ++x) rgba[row * stride + kPixelBytes * x + 3] = 255;
    }
    c::decodePixels({rest.width, rest.height, rgba, stride}, kPixelBytes, rest, encoding);
}

}  // namespace vantor::web
