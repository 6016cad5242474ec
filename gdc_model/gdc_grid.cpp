#include "gdc_model/gdc_grid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_core.h"
#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/zeroed.h"
#include "processor/float_rounding.h"

namespace vantor {
namespace {

/// The largest number of fraction bits, 0 to 7, that keeps the scale of a size within 16 bits: `full` is half
/// the virtual frame's size.
int scaleShifter(int size, int full) {
    if (size > full) return 7;
    for (int i = 0; i < 6; ++i) {
        if (int64_t{size} * (1 << i) > full / 2) return 6 - i;
    }
    return 0;
}

int scale(int size, int shifter, int frameSize) {
    const double numerator = static_cast<double>(size / 2) + std::ldexp(1.0, shifter + 8) * frameSize;
    return saturateToInt(numerator / size);
}

/// One axis of an affine map in single precision, in this order of operations.
int mapped(float along, float across, float offset, int position, int crossPosition, float denominator) {
    const float sum =
        across * static_cast<float>(crossPosition) + along * static_cast<float>(position) + offset;
    return saturateToInt(std::round(sum / denominator));
}

int clampTo(int value, int size) {
    return std::min(std::max(value, 0), wrapSub(size, 1));
}

/// The move of a node, in whole pixels, in the grid's units.
double virtualMove(double pixels, int shifter, int scale) {
    const int odd = wrapAdd(wrapMul(2, saturateToInt(pixels)), 1);
    const int numerator = wrapAdd(wrapMul(odd, scale), powerOfTwo(shifter + 7));
    return wrapMul(divide(numerator, powerOfTwo(shifter + 8)), 256);
}

}  // namespace

GdcScales gdcScalesX(int width) {
    const int shifter = scaleShifter(width, 4096);
    return {shifter, scale(width, shifter, 8192), width};
}

GdcScales gdcScalesY(int height) {
    const int shifter = scaleShifter(height, 3072);
    return {shifter, scale(height, shifter, 6144), wrapAdd(wrapMul(8, height), 3) / 6};
}

}  // namespace vantor

using namespace vantor;

void getGridSet(int W, int H, double* matrix, _pos* grid, int* shiftX, int* shiftY, int* scaleX, int* scaleY,
                int* invScaleX, int* invScaleY, int clamp) {
    const int stepX = saturateToInt(std::round(static_cast<float>(W) * 0.03125F));
    const int stepY = saturateToInt(std::round(static_cast<float>(H) * 0.03125F));
    float m[6];
    std::transform(matrix, matrix + 6, m, [](double value) { return static_cast<float>(value); });
    const GdcScales scalesX = gdcScalesX(W);
    const GdcScales scalesY = gdcScalesY(H);

    _pos* point = grid;
    for (int r = 0; r < kGridNodes; ++r) {
        const int y = std::min(wrapMul(r, stepY), H);
        for (int c = 0; c < kGridNodes; ++c, ++point) {
            const int x = std::min(wrapMul(c, stepX), W);
            const float w = (static_cast<float>(y) * 0.0F + static_cast<float>(x) * 0.0F) + 1.0F;
            int nx = mapped(m[0], m[1], m[2], x, y, w);
            int ny = mapped(m[4], m[3], m[5], y, x, w);
            if (clamp != 0) {
                nx = clampTo(nx, W);
                ny = clampTo(ny, H);
            }
            point->x = virtualMove(wrapSub(nx, x), scalesX.shifter, scalesX.scale);
            point->y = virtualMove(wrapSub(ny, y), scalesY.shifter, scalesY.scale);
        }
    }
    *shiftX = scalesX.shifter;
    *shiftY = scalesY.shifter;
    *scaleX = scalesX.scale;
    *scaleY = scalesY.scale;
    *invScaleX = scalesX.invScale;
    *invScaleY = scalesY.invScale;
}

void GDCWrapper(unsigned char* src, double* matrix, unsigned char* dst, int W, int H, int outScaleWidth,
                int outScaleHeight, int outScaleX, int outScaleY, int outCropStartX, int outCropStartY,
                int outWidth, int outHeight, int clamp) {
    auto points = zeroed<_pos>(kGridNodes * kGridNodes);
    int shiftX, shiftY, scaleX, scaleY, invScaleX, invScaleY;
    getGridSet(W, H, matrix, points.data(), &shiftX, &shiftY, &scaleX, &scaleY, &invScaleX, &invScaleY,
               clamp);
    auto gridX = zeroed<int>(points.size());
    auto gridY = zeroed<int>(points.size());
    std::transform(points.begin(), points.end(), gridX.begin(),
                   [](const _pos& p) { return saturateToInt(p.x); });
    std::transform(points.begin(), points.end(), gridY.begin(),
                   [](const _pos& p) { return saturateToInt(p.y); });

    const size_t srcBytes = pictureSamples(W, H);
    const size_t dstBytes = pictureSamples(outWidth, outHeight);
    // The core may reach beyond the pictures' bytes when a size is odd.
    auto src16 = zeroed<unsigned short>(std::max(gdcPictureSamples(W, H), srcBytes));
    auto dst16 = zeroed<unsigned short>(std::max(gdcPictureSamples(outWidth, outHeight), dstBytes));
    std::copy_n(src, srcBytes, src16.begin());
    GdcCore(dst16.data(), src16.data(), gridX.data(), gridY.data(), W, H, outScaleWidth, outScaleHeight,
            shiftX, shiftY, scaleX, scaleY, invScaleX, invScaleY, outScaleX, outScaleY, outCropStartX,
            outCropStartY, outWidth, outHeight);
    std::transform(dst16.begin(), dst16.begin() + static_cast<std::ptrdiff_t>(dstBytes), dst,
                   [](unsigned short sample) { return static_cast<unsigned char>(sample); });
}
