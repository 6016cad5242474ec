// What bench/wasm.mjs calls: warps and scalings of pictures without gaps in the module's memory.
#include <cstdlib>
#include <vector>

#include "gdc_model/picture_warp.h"
#include "scaler/picture_scale.h"

namespace vantor {
namespace {

enum class Layout { Gray, Pairs, Planes };

template <typename Byte>
GdcPlanes<Byte> planesOf(Byte* picture, int width, int height, Layout layout) {
    if (layout == Layout::Planes) return GdcPlanes<Byte>::consecutive(picture, width, height, {});
    Byte* const pairs = layout == Layout::Pairs ? picture + std::ptrdiff_t{width} * height : nullptr;
    return GdcPlanes<Byte>::pairs(picture, pairs, width, height);
}

template <typename Byte>
ScalePlanes<Byte> scalePlanesOf(Byte* picture, int width, int height, Layout layout) {
    const GdcPlanes<Byte> planes = planesOf(picture, width, height, layout);
    const std::ptrdiff_t chromaStride = planes.uTwoRows / 2;
    Byte* const v = layout == Layout::Planes ? planes.v : nullptr;
    return {planes.y, width, planes.u, chromaStride, v, chromaStride, width, height};
}

}  // namespace
}  // namespace vantor

using namespace vantor;

extern "C" {

[[clang::export_name("allocate")]] void* allocate(size_t bytes) {
    return std::malloc(bytes);
}

/// Warps a region to a picture of its size.
[[clang::export_name("warp")]] void warp(uint8_t* dst, const uint8_t* src, const int32_t* gridX,
                                         const int32_t* gridY, Layout layout, int width, int height, int left,
                                         int top, int columns, int rows) {
    const GdcFrame frame = requestFrame(width, height, {left, top, left + columns - 1, top + rows - 1});
    std::vector<int32_t> memory(WarpPositions::workingWords(frame));
    PictureWarp(frame, planesOf(src, width, height, layout), gridX, gridY, memory.data())
        .run(planesOf(dst, columns, rows, layout));
}

[[clang::export_name("scale")]] void scale(uint8_t* dst, const uint8_t* src, Layout layout, int width,
                                           int height, int columns, int rows) {
    const PictureScale scaling(scalePlanesOf(src, width, height, layout),
                               scalePlanesOf(dst, columns, rows, layout), 1);
    for (int tile = 0; tile < scaling.tiles(); ++tile) scaling.run(tile);
}
}
