#include "gdc_model/run_state.h"

#include <algorithm>

#include "gdc_model/gdc_state.h"
#include "gdc_model/grid_interp.h"

namespace vantor {
namespace {

void storeParameters(const GdcFrame& frame, const int* gridDX, const int* gridDY) {
    std::copy_n(gridDX, kGridNodes * kGridNodes, &m_curGrid_dX[0][0]);
    std::copy_n(gridDY, kGridNodes * kGridNodes, &m_curGrid_dY[0][0]);
    m_nWidth = m_OrgWidth = m_PxcStrideLum = m_PxcStrideChroma = frame.x.sourceSize;
    m_nHeight = m_OrgHeight = frame.y.sourceSize;
    m_WrtStrideLum = m_WrtStrideChroma = m_nOutCropWidth = frame.x.outCropSize;
    m_nOutCropHeight = frame.y.outCropSize;
    m_nOutCropStartX = frame.x.outCropStart;
    m_nOutCropStartY = frame.y.outCropStart;
    m_nCropStartX = frame.x.cropStart;
    m_nCropStartY = frame.y.cropStart;
    m_bMirrorX = frame.x.mirror;
    m_bMirrorY = frame.y.mirror;
    m_nScaleX = frame.x.scale;
    m_nScaleY = frame.y.scale;
    m_nScaleShifterX = frame.x.scaleShifter;
    m_nScaleShifterY = frame.y.scaleShifter;
    m_nInvScaleX = frame.x.invScale;
    m_nInvScaleY = frame.y.invScale;
    m_OutScaleX = frame.x.outScale;
    m_OutScaleY = frame.y.outScale;
    m_interpType = frame.settings.interpType;
    m_clampType = frame.settings.clampType;
    m_YuvFormat = frame.settings.yuvFormat;
    m_Src10bitFormat = frame.settings.src10bit;
    m_Dst10bitFormat = frame.settings.dst10bit;
}

void storeLastPosition(const GdcFrame& frame) {
    const auto last = [](const GdcAxis& axis, int cellSize) {
        const int position = wrapAdd(axis.outCropStart, axis.outCropSize - 1);
        return virtualPosition(axis, position, cellSize).coordinate;
    };
    m_VirtStepShiftX = kVirtStepShiftX;
    m_VirtStepShiftY = kVirtStepShiftY;
    m_VirtCordX = last(frame.x, kVirtualCellWidth);
    m_VirtCordY = last(frame.y, kVirtualCellHeight);
}

void storeBilinear(const Bilinear& last) {
    m_LT_val = last.samples.leftTop;
    m_RT_val = last.samples.rightTop;
    m_LB_val = last.samples.leftBottom;
    m_RB_val = last.samples.rightBottom;
    m_dltL = last.fractionX;
    m_dltT = last.fractionY;
    m_StepXShifter = last.stepX;
    m_StepYShifter = last.stepY;
}

}  // namespace

void storeRun(const GdcFrame& frame, const int* gridDX, const int* gridDY, bool hasRegion,
              const std::optional<Bilinear>& last) {
    storeParameters(frame, gridDX, gridDY);
    if (hasRegion) storeLastPosition(frame);
    if (last) storeBilinear(*last);
}

}  // namespace vantor
