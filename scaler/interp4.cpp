#include "scaler/interp4.h"

#include <algorithm>

#include "scaler/bands.h"
#include "scaler/interp4_chroma.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_luma.h"

namespace vantor {
namespace {

constexpr Interp4Filter kFilter = makeInterp4Filter();

/// The arguments of one NV12_Interp4_Interpolate call, in their order.
struct Interp4Band {
    unsigned char* srcY;
    unsigned char* srcUV;
    unsigned char* dstY;
    unsigned char* dstUV;
    short* coefficients;
    int srcWidth;
    int srcHeight;
    int srcCropX;
    int srcCropY;
    int srcCropWidth;
    int srcCropHeight;
    int dstWidth;
    int dstHeight;
    int bandX;
    int bandY;
    int bandWidth;
    int bandHeight;
    bool lumaOnly;
};

void* runBand(void* record) {
    const auto& b = *static_cast<const Interp4Band*>(record);
    NV12_Interp4_Interpolate(b.srcY, b.srcUV, b.dstY, b.dstUV, b.coefficients, b.srcWidth, b.srcHeight,
                             b.srcCropX, b.srcCropY, b.srcCropWidth, b.srcCropHeight, b.dstWidth, b.dstHeight,
                             b.bandX, b.bandY, b.bandWidth, b.bandHeight, b.lumaOnly);
    return nullptr;
}

}  // namespace
}  // namespace vantor

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
    scaleInterp4Luma({srcY, srcWidth, srcHeight}, {dstY, dstWidth, bandX, endX, rows(bandY, endY)},
                     coefficients, columnAxis, rowAxis);
    if (!lumaOnly) {
        // With an odd height the source's last chroma row is incomplete.
        scaleInterp4Chroma({srcUV, srcWidth, (srcHeight + 1) / 2},
                           {dstUV, dstWidth, bandX, endX / 2, rows(bandY / 2, endY / 2)}, columnAxis,
                           rowAxis);
    }
    return 0;
}

void Interp4_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                     int srcWidth, int srcHeight, int /*srcStride*/, int dstWidth, int dstHeight,
                     int /*dstStride*/, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight,
                     bool lumaOnly) {
    Interp4Filter filter = kFilter;
    const int quarter = dstHeight / 4;
    const auto band = [&](int index, int rows) {
        return Interp4Band{srcY,          srcUV,     dstY,      dstUV,    filter.data(),
                           srcWidth,      srcHeight, srcCropX,  srcCropY, srcCropWidth,
                           srcCropHeight, dstWidth,  dstHeight, 0,        index * quarter,
                           dstWidth,      rows,      lumaOnly};
    };
    Interp4Band bands[kBands] = {band(0, quarter), band(1, quarter), band(2, quarter),
                                 band(3, dstHeight - 3 * quarter)};
    runBands({{runBand, &bands[0]}, {runBand, &bands[1]}, {runBand, &bands[2]}, {runBand, &bands[3]}});
}
