// Scaling of whole pictures, plane by plane. Re-entrant, and without threads: who works on the tiles is up to
// the caller.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scaler/interp4_axis.h"
#include "scaler/planes.h"

namespace vantor {

/// A luma plane and, in pictures of even size, chroma in pairs or in two planes.
template <typename Byte>
struct ScalePlanes {
    Byte* luma;
    std::ptrdiff_t lumaStride;
    Byte* chroma;  ///< pairs or U; null where there is none
    std::ptrdiff_t chromaStride;
    Byte* v;  ///< null where there is none, or pairs
    std::ptrdiff_t vStride;
    int width;
    int height;
};

/// The scaling of one picture into another, cut into tiles that can be made at once or in any order: the
/// bytes of runInterpBicubic. The planes do not overlap.
class PictureScale {
public:
    using Source = ScalePlanes<const uint8_t>;
    using Destination = ScalePlanes<uint8_t>;

    /// Both have chroma of one kind or none. Cut for `workers` that work at once.
    PictureScale(const Source& src, const Destination& dst, int workers);

    int tiles() const { return lumaBands_ + chromaBands_; }

    /// Makes one tile. Thread-safe.
    void run(int tile) const;

private:
    enum class Method { Copy, Reduce, Enlarge };

    void runLuma(const RowRange& rows) const;
    void runChroma(const RowRange& rows) const;

    Source src_;
    Destination dst_;
    Method method_;
    Interp4Axis columnAxis_;  ///< of enlargements
    Interp4Axis rowAxis_;
    int lumaBands_;
    int chromaBands_;
};

/// The rows of `dst`, which has all columns of a plane of `dstRows` rows, by the filters of a reduction.
void reduceLuma(const SourcePlane& src, const Target& dst, int dstRows);
void reduceChroma(const SourcePlane& src, const Target& dst, int dstRows);

}  // namespace vantor
