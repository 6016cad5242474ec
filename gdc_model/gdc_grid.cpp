#include "gdc_model/gdc_grid.h"

#include <algorithm>
#include <cstddef>

#include "gdc_model/gdc_core.h"
#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/matrix_grid.h"
#include "gdc_model/zeroed.h"

using namespace vantor;

void getGridSet(int W, int H, double* matrix, _pos* grid, int* shiftX, int* shiftY, int* scaleX, int* scaleY,
                int* invScaleX, int* invScaleY, int clamp) {
    const Grid moves = gridFromMatrix(matrix, W, H, clamp != 0);
    for (int node = 0; node < kGridNodes * kGridNodes; ++node) {
        grid[node] = {static_cast<double>(moves.dX[node]), static_cast<double>(moves.dY[node])};
    }
    const GdcScales scalesX = gdcScalesX(W);
    const GdcScales scalesY = gdcScalesY(H);
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
    Grid grid = gridFromMatrix(matrix, W, H, clamp != 0);
    const GdcScales scalesX = gdcScalesX(W);
    const GdcScales scalesY = gdcScalesY(H);
    const size_t srcBytes = pictureSamples(W, H);
    const size_t dstBytes = pictureSamples(outWidth, outHeight);
    // The core may reach beyond the pictures' bytes when a size is odd.
    auto src16 = zeroed<unsigned short>(std::max(gdcPictureSamples(W, H), srcBytes));
    auto dst16 = zeroed<unsigned short>(std::max(gdcPictureSamples(outWidth, outHeight), dstBytes));
    std::copy_n(src, srcBytes, src16.begin());
    GdcCore(dst16.data(), src16.data(), grid.dX, grid.dY, W, H, outScaleWidth, outScaleHeight,
            scalesX.shifter, scalesY.shifter, scalesX.scale, scalesY.scale, scalesX.invScale,
            scalesY.invScale, outScaleX, outScaleY, outCropStartX, outCropStartY, outWidth, outHeight);
    std::transform(dst16.begin(), dst16.begin() + static_cast<std::ptrdiff_t>(dstBytes), dst,
                   [](unsigned short sample) { return static_cast<unsigned char>(sample); });
}
