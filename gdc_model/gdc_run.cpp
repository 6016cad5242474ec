#include "gdc_model/gdc_run.h"

#include <algorithm>
#include <optional>

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
          src_(GdcSource::consecutive(src, frame.x.sourceSize, frame.y.sourceSize, frame.settings)),
          dst_(GdcPlanes<uint16_t>::consecutive(dst, frame.x.outCropSize, frame.y.outCropSize,
                                                frame.settings)),
          memory_(zeroed<int32_t>(WarpPositions::workingWords(frame))),
          positions_(frame, memory_.data()) {}

    void run(const GridTables& grids) {
        const WarpKernels& kernels = bestTable(kWarpTables);
        auto x = zeroed<int32_t>(static_cast<size_t>(frame_.x.outCropSize) + 2 * kWarpLanes);
        auto y = x;
        for (int i = 0; i < frame_.y.outCropSize; ++i) {
            positions_.compute(kernels, positions_.row(kernels, grids, i), i, 0, frame_.x.outCropSize,
                               x.data(), y.data());
            walkRow(i, x.data(), y.data());
        }
    }

    /// The last one of the run, if there was any.
    const std::optional<Bilinear>& lastBilinear() const { return lastBilinear_; }

private:
    void walkRow(int outRow, const int32_t* x, const int32_t* y) {
        const int oy = wrapAdd(frame_.y.outCropStart, outRow);
        uint16_t* const luma = dst_.lumaRow(outRow);
        // In 4:2:2 outputs they are as far apart as luma rows.
        const int chromaRow = frame_.settings.is420() ? outRow / 2 : 2 * outRow;
        uint16_t* const u = dst_.uRow(chromaRow);
        uint16_t* const v = dst_.vRow(chromaRow);
        for (int i = 0; i < frame_.x.outCropSize; ++i) {
            const int ox = wrapAdd(frame_.x.outCropStart, i);
            const PixelSource at = pixelSource(frame_, x[i], y[i]);
            luma[i] = outputSample(lumaValue(at));
            if (hasChroma(frame_.settings, ox, oy)) {
                const ChromaQuads quads = chromaQuads(frame_, src_, at);
                u[i / 2] = outputSample(chromaValue(quads.u, at));
                v[i / 2] = outputSample(chromaValue(quads.v, at));
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

    int32_t chromaValue(const Quad& samples, const PixelSource& at) {
        if (frame_.settings.interpType < 2) return samples.leftTop;
        return lastBilinear_.emplace(samples, at.x, at.y, frame_.settings).value;
    }

    const GdcFrame& frame_;
    GdcSource src_;
    GdcPlanes<uint16_t> dst_;
    std::vector<int32_t> memory_;
    WarpPositions positions_;
    std::optional<Bilinear> lastBilinear_;
};

}  // namespace

void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX,
            const int* gridDY) noexcept {
    const GridTables grids(gridDX, gridDY);
    const bool hasRegion = frame.x.outCropSize > 0 && frame.y.outCropSize > 0;
    std::optional<Bilinear> last;
    if (hasRegion) {
        GdcWalk walk(frame, dst, src);
        walk.run(grids);
        last = walk.lastBilinear();
    }
    storeRun(frame, &grids.x[0][0], &grids.y[0][0], hasRegion, last);
}

}  // namespace vantor
