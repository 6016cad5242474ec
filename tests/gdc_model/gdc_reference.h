#pragma once

#include <cstdint>

namespace reference {

// Every variable of the warping model under its own name. The per-pixel ones hold the last computed pixel.
struct GdcState {
    int m_curGrid_dX[33][33] = {}, m_curGrid_dY[33][33] = {};          // node displacements, [row][column]
    int m_nWidth = 0, m_nHeight = 0, m_OrgWidth = 0, m_OrgHeight = 0;  // source size, luma pixels
    int m_PxcStrideLum = 0, m_PxcStrideChroma = 0, m_WrtStrideLum = 0, m_WrtStrideChroma = 0;  // samples
    int m_nCropStartX = 0, m_nCropStartY = 0, m_bMirrorX = 0, m_bMirrorY = 0, m_bCropBypass = 0;
    int m_nScaleX = 0, m_nScaleY = 0, m_nScaleShifterX = 0, m_nScaleShifterY = 0;  // output to virtual units
    int m_nInvScaleX = 0, m_nInvScaleY = 0, m_OutScaleX = 0, m_OutScaleY = 0;      // Q13; 128 = 1:1
    int m_nOutCropStartX = 0, m_nOutCropStartY = 0, m_nOutCropWidth = 0, m_nOutCropHeight = 0;
    int m_interpType = 0, m_clampType = 0, m_YuvFormat = 0, m_Src10bitFormat = 0, m_Dst10bitFormat = 0;
    int m_VirtCordX = 0, m_VirtCordY = 0, m_VirtStepShiftX = 0, m_VirtStepShiftY = 0;  // per pixel
    int m_LT_val = 0, m_RT_val = 0, m_LB_val = 0, m_RB_val = 0;          // last bilinear interpolation: samples,
    int m_dltL = 0, m_dltT = 0, m_StepXShifter = 0, m_StepYShifter = 0;  // fractions and extra fraction bits
};

// What the engine fixes but the model can vary; the defaults are the fixed values.
struct GdcOptions {
    int interpType = 3, clampType = 2, yuvFormat = 1, src10bit = 0, dst10bit = 0;
    int mirrorX = 0, mirrorY = 0, cropStartX = 0, cropStartY = 0;
};

void gdcCore(GdcState& state, const GdcOptions& options, uint16_t* dst, const uint16_t* src, const int* gridDX,
             const int* gridDY, int width, int height, int spareWidth, int spareHeight, int scaleShifterX,
             int scaleShifterY, int scaleX, int scaleY, int invScaleX, int invScaleY, int outScaleX, int outScaleY,
             int outCropStartX, int outCropStartY, int outWidth, int outHeight);

}  // namespace reference
