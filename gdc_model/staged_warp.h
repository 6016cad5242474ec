// One warp of an NV12 picture of even size by the model: the layouts on the way in and out, and their memory.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gdc_model/output_region.h"

namespace vantor {

/// Working memory and steps of one warp. The memory is given back by `release`, not by the destructor.
class StagedWarp {
public:
    StagedWarp(int width, int height, const OutputRegion& region);

    /// Whether there was memory for all of it. Requests of the client go on without asking, as on the device.
    bool isReady() const;

    /// To be filled with the source: packed NV12, width x height x 3 / 2 bytes.
    uint8_t* source() { return srcStaged_; }

    /// Grids of 33 x 33 nodes.
    void run(const int32_t* gridX, const int32_t* gridY);

    /// As many bytes of the output. The region's samples are packed at its own width, so that only a region
    /// of the whole picture makes a picture.
    const uint8_t* result() const { return dstStaged_; }

    void release();

private:
    int width_;
    int height_;
    OutputRegion region_;
    size_t bytes_;
    uint8_t* srcPlanes_;  ///< three planes
    uint8_t* dstPlanes_;
    uint16_t* src16_;
    uint16_t* dst16_;
    uint8_t* srcStaged_;  ///< two planes
    uint8_t* dstStaged_;
};

}  // namespace vantor
