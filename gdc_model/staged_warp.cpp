#include "gdc_model/staged_warp.h"

#include <algorithm>
#include <cstdlib>

#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_planes.h"
#include "gdc_model/gdc_run.h"

namespace vantor {
namespace {

uint8_t* allocate(size_t bytes) {
    return static_cast<uint8_t*>(std::malloc(bytes));
}

uint16_t* allocateSamples(size_t samples) {
    return static_cast<uint16_t*>(std::calloc(samples, sizeof(uint16_t)));
}

}  // namespace

StagedWarp::StagedWarp(int width, int height, const OutputRegion& region)
    : width_(width),
      height_(height),
      region_(region),
      bytes_(pictureSamples(width, height)),
      srcPlanes_(allocate(bytes_)),
      dstPlanes_(allocate(bytes_)),
      src16_(allocateSamples(bytes_)),
      dst16_(allocateSamples(std::max(
          bytes_, gdcPictureSamples(static_cast<int>(region.width), static_cast<int>(region.height))))),
      srcStaged_(allocate(bytes_)),
      dstStaged_(allocate(bytes_)) {}

bool StagedWarp::isReady() const {
    return srcPlanes_ && dstPlanes_ && src16_ && dst16_ && srcStaged_ && dstStaged_;
}

void StagedWarp::run(const int32_t* gridX, const int32_t* gridY) {
    YUV2PlaneTo3Plane(srcStaged_, srcPlanes_, width_, height_);
    std::copy_n(srcPlanes_, bytes_, src16_);
    runGdc(requestFrame(width_, height_, region_), dst16_, src16_, gridX, gridY);
    std::transform(dst16_, dst16_ + bytes_, dstPlanes_,
                   [](uint16_t sample) { return static_cast<uint8_t>(sample); });
    YUV3PlaneTo2Plane(dstPlanes_, dstStaged_, width_, height_);
}

void StagedWarp::release() {
    std::free(srcStaged_);
    std::free(dstStaged_);
    std::free(src16_);
    std::free(dst16_);
    std::free(srcPlanes_);
    std::free(dstPlanes_);
}

}  // namespace vantor
