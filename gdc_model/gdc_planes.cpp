#include "gdc_model/gdc_planes.h"

#include <algorithm>
#include <cstddef>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_grid.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/matrix_grid.h"
#include "gdc_model/zeroed.h"

namespace vantor {
namespace {

/// Calls `copy(interleaved, planar)` with the byte offsets of each chroma sample in the two layouts: all of
/// U, then all of V.
template <typename Copy>
void forEachChroma(int W, int H, Copy&& copy) {
    const std::ptrdiff_t luma = std::ptrdiff_t{W} * H;
    const std::ptrdiff_t starts[2] = {luma, luma + std::ptrdiff_t{H / 2} * (W / 2)};
    for (int component = 0; component < 2; ++component) {
        std::ptrdiff_t planar = starts[component];
        for (int row = 0; row < H / 2; ++row) {
            const std::ptrdiff_t interleaved = luma + std::ptrdiff_t{row} * W;
            for (int column = component; column < W; column += 2) copy(interleaved + column, planar++);
        }
    }
}

void copyLuma(const unsigned char* src, unsigned char* dst, int W, int H) {
    if (W > 0 && H > 0) std::copy_n(src, std::ptrdiff_t{W} * H, dst);
}

int outScale(int size, int outSize) {
    return divide(wrapMul(size, kOutScaleOne), outSize);
}

}  // namespace
}  // namespace vantor

using namespace vantor;

void YUV2PlaneTo3Plane(unsigned char* src, unsigned char* dst, int W, int H) {
    copyLuma(src, dst, W, H);
    forEachChroma(W, H,
                  [=](std::ptrdiff_t interleaved, std::ptrdiff_t planar) { dst[planar] = src[interleaved]; });
}

void YUV3PlaneTo2Plane(unsigned char* src, unsigned char* dst, int W, int H) {
    copyLuma(src, dst, W, H);
    forEachChroma(W, H,
                  [=](std::ptrdiff_t interleaved, std::ptrdiff_t planar) { dst[interleaved] = src[planar]; });
}

void GDCRunnerCModel(short* matrix, unsigned char* src, unsigned char* dst, int W, int H, int outScaleWidth,
                     int outScaleHeight, int outCropStartX, int outCropStartY, int outWidth, int outHeight,
                     int clamp) {
    AffineMatrix affine(matrix);
    auto src3 = zeroed<unsigned char>(pictureSamples(W, H));
    auto dst3 = zeroed<unsigned char>(pictureSamples(outWidth, outHeight));
    YUV2PlaneTo3Plane(src, src3.data(), W, H);
    GDCWrapper(src3.data(), affine.values, dst3.data(), W, H, outScaleWidth, outScaleHeight,
               outScale(W, outScaleWidth), outScale(H, outScaleHeight), outCropStartX, outCropStartY,
               outWidth, outHeight, clamp);
    YUV3PlaneTo2Plane(dst3.data(), dst, outWidth, outHeight);
}
