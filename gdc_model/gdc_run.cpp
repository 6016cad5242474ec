#include "gdc_model/gdc_run.h"

#include <algorithm>
#include <exception>
#include <optional>

#include "gdc_model/gdc_state.h"
#include "gdc_model/run_state.h"
#include "gdc_model/source_samples.h"
#include "gdc_model/warp_positions.h"
#include "gdc_model/zeroed.h"

namespace vantor {
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

void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX,
            const int* gridDY) noexcept {
    loadState(frame, gridDX, gridDY);
    if (frame.x.outCropSize < 1 || frame.y.outCropSize < 1) return;
    GdcWalk(frame, dst, src).run();
}

}  // namespace vantor
