// The core's run with settings that the engine fixes, and its steps for a single pixel.
#pragma once

#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/output_region.h"
#include "gdc_model/sampling.h"

namespace vantor {

/// Planes of a source or output picture, and the samples from one row to the next.
template <typename Sample>
struct GdcPlanes {
    Sample* y;
    Sample* u;
    Sample* v;
    int stride;

    GdcPlanes(Sample* samples, int width, int height, const GdcSettings& settings)
        : y(samples), u(samples), v(samples), stride(width) {
        // No sample is touched in pictures without any, whatever their sizes say.
        if (width < 1 || height < 1) return;
        const std::ptrdiff_t luma = std::ptrdiff_t{width} * height;
        u += luma;
        v += luma + (settings.is420() ? luma / 4 : luma / 2);
    }
};

using GdcSource = GdcPlanes<const uint16_t>;

/// Where an output pixel's samples come from.
struct PixelSource {
    SourcePosition x;
    SourcePosition y;
    bool inside;
};

PixelSource pixelSource(const GdcFrame& frame, int32_t x, int32_t y);

/// The sixteen luma samples around a position; zero outside the source.
LumaBlock lumaBlock(const GdcFrame& frame, const GdcSource& src, const PixelSource& at);

/// The four samples of one chroma plane around a position; neutral outside the source.
Quad chromaQuad(const GdcFrame& frame, const GdcSource& src, const uint16_t* plane, const PixelSource& at);

/// Whether an output pixel has chroma of its own.
inline bool hasChroma(const GdcSettings& settings, int ox, int oy) {
    return (ox & 1) == 0 && (!settings.is420() || (oy & 1) == 0);
}

/// The parameters of a request at one size: output and source to the same scale.
GdcFrame requestFrame(int width, int height, const OutputRegion& region);

/// Loads the state, copies the grids and computes the region. GdcCore is this with default settings. Ends the
/// process if there is no memory for a row's positions.
void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX,
            const int* gridDY) noexcept;

}  // namespace vantor
