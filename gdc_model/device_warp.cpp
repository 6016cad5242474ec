#include "gdc_model/device_warp.h"

#include <algorithm>
#include <functional>
#include <iterator>
#include <memory>
#include <optional>

#include "gdc_model/gdc_extent.h"
#include "gdc_model/picture_warp.h"
#include "gdc_model/run_state.h"
#include "gdc_model/zeroed.h"

namespace vantor {
namespace {

constexpr uint8_t kNoChroma[2] = {};

WarpSourcePlanes sourcePlanes(const PlanePair<const uint8_t>& src, int width, int height) {
    WarpSourcePlanes planes = WarpSourcePlanes::pairs(src.y, src.uv ? src.uv : kNoChroma, width, height);
    if (!src.uv) planes.uTwoRows = planes.vTwoRows = planes.chromaStep = 0;
    return planes;
}

/// A picture's bytes in one of its planes.
struct Span {
    const uint8_t* first;
    size_t size;

    bool overlaps(const Span& other) const {
        const std::less<const uint8_t*> less;
        return first && other.first && less(first, other.first + other.size) &&
               less(other.first, first + size);
    }
};

/// Whether writing the output's planes may change the source, or one of them the other.
bool overlap(const PlanePair<const uint8_t>& src, const PlanePair<uint8_t>& dst, size_t luma) {
    const Span sources[] = {{src.y, luma}, {src.uv, luma / 2}};
    const Span outputs[] = {{dst.y, luma}, {dst.uv, luma / 2}};
    return outputs[0].overlaps(outputs[1]) ||
           std::any_of(std::begin(sources), std::end(sources), [&](const Span& source) {
               return source.overlaps(outputs[0]) || source.overlaps(outputs[1]);
           });
}

/// Three consecutive planes, of `luma` x 3 / 2 bytes, to the output's planes.
void copyPlanes(const uint8_t* planes, size_t luma, const PlanePair<uint8_t>& dst) {
    std::copy_n(planes, luma, dst.y);
    if (!dst.uv) return;
    const uint8_t* const u = planes + luma;
    const uint8_t* const v = u + luma / 4;
    for (size_t i = 0; i < luma / 4; ++i) {
        dst.uv[2 * i] = u[i];
        dst.uv[2 * i + 1] = v[i];
    }
}

/// `warp` is null for a region without columns or rows.
bool writeRegion(const PictureWarp* warp, const GdcFrame& frame, const OutputRegion& region,
                 const PlanePair<const uint8_t>& src, const PlanePair<uint8_t>& dst) {
    const int width = frame.x.sourceSize;
    const int height = frame.y.sourceSize;
    const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
    if (region.width == width && region.height == height && !overlap(src, dst, luma)) {
        warp->run(WarpOutputPlanes::pairs(dst.y, dst.uv, width, height));
        return true;
    }
    const int columns = frame.x.outCropSize;
    const int rows = frame.y.outCropSize;
    const auto planes = zeroedIfPossible<uint8_t>(std::max(luma / 2 * 3, gdcPictureSamples(columns, rows)));
    if (!planes) return false;
    if (warp) warp->run(WarpOutputPlanes::consecutive(planes.get(), columns, rows, frame.settings));
    copyPlanes(planes.get(), luma, dst);
    return true;
}

}  // namespace

bool warpOnDevice(int width, int height, const OutputRegion& region, const PlanePair<const uint8_t>& src,
                  const PlanePair<uint8_t>& dst, const int32_t* gridX, const int32_t* gridY) noexcept {
    const GdcFrame frame = requestFrame(width, height, region);
    const bool isEmpty = region.width < 1 || region.height < 1;
    std::unique_ptr<int32_t[]> memory;
    std::optional<PictureWarp> warp;
    std::optional<Bilinear> last;
    if (!isEmpty) memory = zeroedIfPossible<int32_t>(WarpPositions::workingWords(frame));
    if (memory) {
        // With an odd width, the last chroma sample of a row and the first of the next share an address, and
        // the later write wins.
        const int tileRows = region.width % 2 != 0 ? 1 : PictureWarp::kTileRows;
        warp.emplace(frame, sourcePlanes(src, width, height), gridX, gridY, memory.get(), tileRows);
        last = warp->lastBilinear();
    }
    // Before the output is written, which may overlap the source and the grids.
    storeRun(frame, gridX, gridY, warp.has_value(), last);
    if (!isEmpty && !warp) return false;
    return !dst.y || writeRegion(warp ? &*warp : nullptr, frame, region, src, dst);
}

}  // namespace vantor
