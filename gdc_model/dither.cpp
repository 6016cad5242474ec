// Ordered dither of 10-bit samples.
#include <algorithm>
#include <cstddef>

#include "gdc_model/gdc_state.h"

namespace vantor {
namespace {

using Offsets = int[2][2];

constexpr Offsets kDither = {{3, 0}, {1, 2}};
constexpr Offsets kInverseDither = {{-3, 0}, {-1, -2}};

void offsetPlane(unsigned short* plane, int width, int height, const Offsets& offsets) {
    for (int r = 0; r < height; ++r) {
        unsigned short* row = plane + std::ptrdiff_t{r} * width;
        for (int c = 0; c < width; ++c) {
            row[c] = static_cast<unsigned short>(std::clamp(row[c] + offsets[r & 1][c & 1], 0, 1023));
        }
    }
}

void offsetImage(unsigned short* samples, int width, int height, bool isPacked, int yuvFormat,
                 const Offsets& offsets) {
    const int w = isPacked ? width / 2 : width;
    const bool is420 = yuvFormat == 1;
    offsetPlane(samples, w, height, offsets);
    if (w < 2) return;
    const int chromaHeight = is420 ? height / 2 : height;
    const std::ptrdiff_t lumaSamples = std::ptrdiff_t{w} * height;
    offsetPlane(samples + lumaSamples, w / 2, chromaHeight, offsets);
    offsetPlane(samples + (is420 ? lumaSamples * 5 / 4 : lumaSamples * 3 / 2), w / 2, chromaHeight, offsets);
}

}  // namespace
}  // namespace vantor

void Dither(unsigned short* samples, const DitherParams* params) {
    vantor::offsetImage(samples, params->ditherWidth, params->ditherHeight, params->ditherPacking == 1,
                        params->yuvFormat, vantor::kDither);
}

void InvDither(unsigned short* samples, const DitherParams* params) {
    vantor::offsetImage(samples, params->invDitherWidth, params->invDitherHeight,
                        params->invDitherPacking == 1, params->yuvFormat, vantor::kInverseDither);
}
