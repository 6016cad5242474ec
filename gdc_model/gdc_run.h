// The core's run with settings that the engine fixes, and its steps for a single pixel.
#pragma once

#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
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
        : y(samples), u(y + std::ptrdiff_t{width} * height), stride(width) {
        v = y + (settings.is420() ? std::ptrdiff_t{width} * height * 5 / 4
                                  : std::ptrdiff_t{width} * height * 3 / 2);
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

/// Loads the state, copies the grids and computes the region. GdcCore is this with default settings.
void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX, const int* gridDY);

}  // namespace vantor
