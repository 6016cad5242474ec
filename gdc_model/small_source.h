// Sources so small that borders are much of them.
#pragma once

#include <array>
#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/source_samples.h"
#include "gdc_model/warp_kernels.h"

namespace vantor {

/// A copy of a small source in the middle of a larger one, whose outer samples are those that the folded taps
/// of a frame read. So vector kernels compute all of its pixels.
class SmallSource {
public:
    /// Frames up to the smallest that the device takes, and of sizes that kernels take.
    static bool fits(const GdcFrame& frame, const GdcPlanes<const uint8_t>& src);

    /// Copies a source that fits, and returns the copy.
    WarpSource copy(const GdcFrame& frame, const GdcPlanes<const uint8_t>& src);

    /// From positions in the frame's source to those in the copy; far outside for all that lie outside.
    static void moveToCopy(const GdcFrame& frame, int count, int32_t* x, int32_t* y);

private:
    static constexpr int kMaxWidth = 96;
    static constexpr int kMaxHeight = 64;
    static constexpr int kMargin = 2;  ///< taps beyond either border; even, so that pairs stay pairs
    static constexpr int kStride = kMaxWidth + 2 * kMargin;

    using Pair = std::array<uint8_t, 2>;

    std::array<uint8_t, kStride> luma_[kMaxHeight + 2 * kMargin];
    std::array<Pair, kStride / 2> pairs_[kMaxHeight / 2 + kMargin];
};

}  // namespace vantor
