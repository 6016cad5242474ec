// Warps as the device's clients ask for them: the state of the run is left behind, and planes may overlap.
#pragma once

#include <cstdint>

#include "gdc_model/output_region.h"

namespace vantor {

/// The planes of a picture of even size, without gaps: luma, and pairs of chroma.
template <typename Byte>
struct PlanePair {
    Byte* y;
    Byte* uv;  ///< null where the picture has no chroma: it is read as 0, and not written
};

/// Warps a picture of width x height by grids of 33 x 33 nodes and leaves the state of such a run. The
/// region's luma, then its U, then its V, each packed at the region's own width and followed by zeros, fill
/// the output's planes in that order, so that only a region of the whole picture makes a picture. With a null
/// `dst.y` the run leaves only its state.
///
/// Planes may overlap; the output is the same as without overlap. Takes 16 bytes per column and 45 KB, and,
/// for overlapping planes and regions of another size, as many bytes as the region has samples, and the
/// picture at least. Returns false, with nothing written, where there is no memory for these. Not
/// thread-safe.
bool warpOnDevice(int width, int height, const OutputRegion& region, const PlanePair<const uint8_t>& src,
                  const PlanePair<uint8_t>& dst, const int32_t* gridX, const int32_t* gridY) noexcept;

}  // namespace vantor
