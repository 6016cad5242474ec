#include "scaler/interp4.h"

#include <algorithm>

#include "scaler/interp4_chroma.h"
#include "scaler/interp4_luma.h"

using namespace vantor;

int NV12_Interp4_Interpolate(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY,
                             unsigned char* dstUV, short* coefficients, int srcWidth, int srcHeight,
                             int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, int dstWidth,
                             int dstHeight, int bandX, int bandY, int bandWidth, int bandHeight,
                             bool lumaOnly) {
    if (std::min({srcWidth, srcHeight, srcCropWidth, srcCropHeight, dstWidth, dstHeight}) <= 0) return 0;
    const Interp4Axis columnAxis(srcWidth, srcCropX, srcCropWidth, dstWidth);
    const Interp4Axis rowAxis(srcHeight, srcCropY, srcCropHeight, dstHeight);
    const int endX = bandX + bandWidth;
    const int endY = bandY + bandHeight;
    const auto rows = [](int first, int end) { return RowRange{first, end - first, false}; };
    scaleInterp4Luma({srcY, srcWidth, srcWidth, srcHeight}, {dstY, dstWidth, bandX, endX, rows(bandY, endY)},
                     coefficients, columnAxis, rowAxis);
    if (!lumaOnly) {
        // With an odd height the source's last chroma row is incomplete.
        scaleInterp4Chroma({srcUV, srcWidth, srcWidth / 2, (srcHeight + 1) / 2},
                           {dstUV, dstWidth, bandX, endX / 2, rows(bandY / 2, endY / 2)}, columnAxis,
                           rowAxis);
    }
    return 0;
}
