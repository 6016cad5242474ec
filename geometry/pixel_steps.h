// How one pixel of a warp is computed.
#pragma once

#include <cstdint>
#include <optional>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/source_samples.h"
#include "geometry/size.h"

namespace vantor {

/// Every step, by the model's own functions.
struct PixelSteps {
    int column;
    int row;
    GdcFrame frame;
    VirtualPosition x;
    VirtualPosition y;
    int displacementX;
    int displacementY;
    PixelSource at;
    LumaBlock samples;
    Bicubic luma;
    std::optional<Bilinear> u{};  ///< where the pixel has chroma of its own
    std::optional<Bilinear> v{};

    /// Of luma.
    std::array<int, 4> columns() const { return lumaTaps(at.x.index, frame.x.sourceSize); }
    std::array<int, 4> rows() const { return lumaTaps(at.y.index, frame.y.sourceSize); }
};

/// Of a pixel of a picture that is warped as one of `frameSize`, which repeats the last column and row of
/// `source`. U and V of the source may be null.
PixelSteps stepsOf(const Grid& grid, Size frameSize, const GdcPlanes<const uint8_t>& source, int column,
                   int row);

}  // namespace vantor
