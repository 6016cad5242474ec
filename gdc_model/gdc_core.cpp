#include "gdc_model/gdc_core.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "gdc_model/gdc_run.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/gdc_state.h"
#include "gdc_model/warp_positions.h"
#include "gdc_model/zeroed.h"

namespace vantor {

void loadState(const GdcFrame& frame, const int* gridDX, const int* gridDY) {
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

namespace {

uint16_t outputSample(int32_t value) {
    return static_cast<uint16_t>(std::min(value, 255));
}

/// One run over the output region, row by row, of samples of any depth.
class GdcWalk {
public:
    GdcWalk(const GdcFrame& frame, uint16_t* dst, const uint16_t* src)
        : frame_(frame),
          src_(src, frame.x.sourceSize, frame.y.sourceSize, frame.settings),
          dst_(dst, frame.x.outCropSize, frame.y.outCropSize, frame.settings),
          positions_(frame) {}

    void run() {
        if (!positions_.isReady()) std::terminate();  // as zeroed() does
        const WarpKernels& kernels = bestTable(kWarpTables);
        auto x = zeroed<int32_t>(static_cast<size_t>(frame_.x.outCropSize) + 2 * kWarpLanes);
        auto y = x;
        for (int i = 0; i < frame_.y.outCropSize; ++i) {
            positions_.compute(kernels, positions_.row(m_curGrid_dX, m_curGrid_dY, i), i, 0,
                               frame_.x.outCropSize, x.data(), y.data());
            walkRow(i, x.data(), y.data());
        }
        storeLastPosition(frame_);
        if (lastBilinear_) storeBilinear(*lastBilinear_);
    }

private:
    void walkRow(int outRow, const int32_t* x, const int32_t* y) {
        const int oy = wrapAdd(frame_.y.outCropStart, outRow);
        uint16_t* const luma = dst_.y + std::ptrdiff_t{outRow} * dst_.stride;
        const std::ptrdiff_t chromaRow =
            frame_.settings.is420() ? dst_.chromaRow(outRow / 2) : std::ptrdiff_t{dst_.stride} * outRow;
        for (int i = 0; i < frame_.x.outCropSize; ++i) {
            const int ox = wrapAdd(frame_.x.outCropStart, i);
            const PixelSource at = pixelSource(frame_, x[i], y[i]);
            luma[i] = outputSample(lumaValue(at));
            if (hasChroma(frame_.settings, ox, oy)) {
                dst_.u[chromaRow + i / 2] = outputSample(chromaValue(src_.u, at));
                dst_.v[chromaRow + i / 2] = outputSample(chromaValue(src_.v, at));
            }
        }
    }

    int32_t lumaValue(const PixelSource& at) {
        const LumaBlock samples = lumaBlock(frame_, src_, at);
        if (frame_.settings.interpType == 0) return samples[1][1];
        if (frame_.settings.interpType == 1 || frame_.settings.interpType == 2) {
            const Quad centre{samples[1][1], samples[1][2], samples[2][1], samples[2][2]};
            return lastBilinear_.emplace(centre, at.x.fraction, at.y.fraction, frame_.settings).value;
        }
        return Bicubic(samples, at.x.fraction, at.y.fraction, frame_.settings).value;
    }

    int32_t chromaValue(const uint16_t* plane, const PixelSource& at) {
        const Quad samples = chromaQuad(frame_, src_, plane, at);
        if (frame_.settings.interpType < 2) return samples.leftTop;
        return lastBilinear_.emplace(samples, at.x, at.y, frame_.settings).value;
    }

    const GdcFrame& frame_;
    GdcSource src_;
    GdcPlanes<uint16_t> dst_;
    WarpPositions positions_;
    std::optional<Bilinear> lastBilinear_;
};

}  // namespace

GdcFrame requestFrame(int width, int height, const OutputRegion& region) {
    const auto axis = [](const GdcScales& scales, int size, int start, int64_t count) {
        return GdcAxis{size,
                       scales.shifter,
                       std::min(scales.scale, kLargestScale),
                       scales.invScale,
                       kOutScaleOne,
                       start,
                       static_cast<int>(count),
                       0,
                       0};
    };
    return {{},
            axis(gdcScalesX(width), width, region.left, region.width),
            axis(gdcScalesY(height), height, region.top, region.height)};
}

void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX,
            const int* gridDY) noexcept {
    loadState(frame, gridDX, gridDY);
    if (frame.x.outCropSize < 1 || frame.y.outCropSize < 1) return;
    GdcWalk(frame, dst, src).run();
}

}  // namespace vantor

void GdcCore(unsigned short* dst, unsigned short* src, int* gridDX, int* gridDY, int W, int H,
             int /*spareWidth*/, int /*spareHeight*/, int scaleShifterX, int scaleShifterY, int scaleX,
             int scaleY, int invScaleX, int invScaleY, int outScaleX, int outScaleY, int outCropStartX,
             int outCropStartY, int outW, int outH) {
    vantor::GdcFrame frame{};
    frame.x = {W, scaleShifterX, scaleX, invScaleX, outScaleX, outCropStartX, outW, 0, 0};
    frame.y = {H, scaleShifterY, scaleY, invScaleY, outScaleY, outCropStartY, outH, 0, 0};
    vantor::runGdc(frame, dst, src, gridDX, gridDY);
}
