#include "gdc_model/gdc_state.h"

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
