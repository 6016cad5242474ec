#include "gdc_model/gdc_state.h"

#include <algorithm>
#include <cstddef>

#include "gdc_model/fixed_point.h"

int m_curGrid_dX[33][33];
int m_curGrid_dY[33][33];
int m_nWidth;
int m_nHeight;
int m_OrgWidth;
int m_OrgHeight;
int m_PxcStrideLum;
int m_PxcStrideChroma;
int m_WrtStrideLum;
int m_WrtStrideChroma;
int m_nCropStartX;
int m_nCropStartY;
int m_bMirrorX;
int m_bMirrorY;
int m_bCropBypass;
int m_nScaleX;
int m_nScaleY;
int m_nScaleShifterX;
int m_nScaleShifterY;
int m_nInvScaleX;
int m_nInvScaleY;
int m_OutScaleX;
int m_OutScaleY;
int m_nOutCropStartX;
int m_nOutCropStartY;
int m_nOutCropWidth;
int m_nOutCropHeight;
int m_interpType;
int m_clampType;
int m_YuvFormat;
int m_Src10bitFormat;
int m_Dst10bitFormat;
int m_VirtCordX;
int m_VirtCordY;
int m_VirtStepShiftX;
int m_VirtStepShiftY;
int m_LT_val;
int m_RT_val;
int m_LB_val;
int m_RB_val;
int m_dltL;
int m_dltT;
int m_StepXShifter;
int m_StepYShifter;

int64_t hwround64_(int64_t value, int shift) {
    return vantor::hwround(value, shift);
}

namespace vantor {
namespace {

// Ordered dither of 10-bit samples.
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
