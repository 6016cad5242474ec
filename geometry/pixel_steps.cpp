#include "geometry/pixel_steps.h"

#include "geometry/model_frame.h"

namespace vantor {

PixelSteps stepsOf(const Grid& grid, Size frameSize, const GdcPlanes<const uint8_t>& source, int column,
                   int row) {
    const GdcFrame frame = modelFrame(frameSize);
    const GridLines lines(GridTables(grid), frame, row);
    const VirtualPosition x = virtualPosition(frame.x, column, kVirtualCellWidth);
    const VirtualPosition y = virtualPosition(frame.y, row, kVirtualCellHeight);
    const PixelSource at = lines.source(frame, column, row);
    const LumaBlock samples = lumaBlock(frame, source, at);
    PixelSteps steps{column,
                     row,
                     frame,
                     x,
                     y,
                     lines.x.displacement(x),
                     lines.y.displacement(x),
                     at,
                     samples,
                     Bicubic(samples, at.x.fraction, at.y.fraction, frame.settings)};
    if (!source.u || !hasChroma(frame.settings, column, row)) return steps;
    const ChromaQuads quads = chromaQuads(frame, source, at);
    steps.u.emplace(quads.u, at.x, at.y, frame.settings);
    steps.v.emplace(quads.v, at.x, at.y, frame.settings);
    return steps;
}

}  // namespace vantor
