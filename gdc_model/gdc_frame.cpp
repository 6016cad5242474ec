#include "gdc_model/gdc_frame.h"

#include <algorithm>
#include <cstdint>

#include "gdc_model/gdc_scales.h"

namespace vantor {

GdcFrame requestFrame(int width, int height, const OutputRegion& region) {
    const auto axis = [](const GdcScales& scales, int size, int start, int64_t count) {
        return GdcAxis{size,
                       scales.shifter,
                       std::min(scales.scale, kMaxScale),
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

}  // namespace vantor
