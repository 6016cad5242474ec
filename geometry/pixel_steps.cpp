#include "geometry/pixel_steps.h"

namespace vantor {

PixelSteps stepsOf(const Grid& grid, Size frameSize, const GdcPlanes<const uint8_t>& source, int column,
                   int row) {
    const auto [width, height] = frameSize;
    const GdcFrame frame = requestFrame(width, height, {0, 0, width - 1, height - 1});
    const GridTables tables(grid);
    const VirtualPosition x = virtualPosition(frame.x, column, kVirtualCellWidth);
    const VirtualPosition y = virtualPosition(frame.y, row, kVirtualCellHeight);
    const int displacementX = GridRow(tables.x, y).displacement(x);
    const int displacementY = GridRow(tables.y, y).displacement(x);
    const PixelSource at = pixelSource(frame, sourceCoordinate(frame.x, column, displacementX),
                                       sourceCoordinate(frame.y, row, displacementY));
    const LumaBlock samples = lumaBlock(frame, source, at);
    PixelSteps steps{column,
                     row,
                     frame,
                     x,
                     y,
                     displacementX,
                     displacementY,
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
