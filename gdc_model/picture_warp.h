// Warps of 8-bit pictures, straight from plane to plane. Re-entrant: nothing here knows the model's
// variables.
#pragma once

#include <cstdint>
#include <optional>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/small_source.h"
#include "gdc_model/source_samples.h"
#include "gdc_model/warp_kernels.h"
#include "gdc_model/warp_positions.h"

namespace vantor {

using WarpSourcePlanes = GdcPlanes<const uint8_t>;
using WarpOutputPlanes = GdcPlanes<uint8_t>;

/// The output region of a frame, cut into tiles that can be computed at once or in any order. The frame's
/// source may be larger than the source's planes, which then repeat their last column and row.
class PictureWarp {
public:
    /// Rows of a tile that keep the source samples of its runs in the cache, whichever way the picture is
    /// turned.
    static constexpr int kTileRows = 64;

    /// The region has columns and rows. `gridX` and `gridY` have 33 x 33 nodes; `memory` is what
    /// WarpPositions::workingWords() asks for and outlives the object.
    PictureWarp(const GdcFrame& frame, const WarpSourcePlanes& src, const int32_t* gridX,
                const int32_t* gridY, int32_t* memory, int tileRows = kTileRows);
    PictureWarp(const PictureWarp&) = delete;
    PictureWarp& operator=(const PictureWarp&) = delete;

    int tiles() const { return (frame_.y.outCropSize + tileRows_ - 1) / tileRows_; }

    /// Writes one tile of the output, whose planes begin with the region. Thread-safe.
    void run(int tile, const WarpOutputPlanes& dst) const;

    /// All tiles in their order.
    void run(const WarpOutputPlanes& dst) const;

    /// The bilinear interpolation of the last chroma sample of V, if the region has any chroma.
    std::optional<Bilinear> lastBilinear() const;

private:
    friend class TileWalk;

    GridRows gridRows(int row) const;

    GdcFrame frame_;
    WarpSourcePlanes src_;
    GridTables grids_;
    int tileRows_;
    bool isSmall_;
    SmallSource small_;
    WarpSource kernelSource_;
    const WarpKernels& kernels_;
    WarpPositions positions_;
};

}  // namespace vantor
