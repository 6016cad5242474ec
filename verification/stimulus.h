// Pictures and requests that exercise the arithmetic.
#pragma once

#include <cstdint>
#include <vector>

#include "gdc_model/grid.h"
#include "verification/coverage.h"

namespace vantor::verification {

/// A picture without gaps: luma, then pairs of chroma.
struct StimulusPicture {
    Size size;
    std::vector<uint8_t> bytes;

    PictureView view() const;
};

struct StimulusRequest {
    static constexpr int kNone = -1;

    int picture;
    Size target;       ///< of a scaling
    int grid = kNone;  ///< of a warp: which grid
};

/// Requests in their order.
struct Stimulus {
    std::vector<StimulusPicture> pictures;
    std::vector<Grid> grids;
    std::vector<StimulusRequest> requests;
    bool isComplete;  ///< whether they see every item that can be seen

    /// Samples of all pictures and of all results.
    size_t samples() const;
};

/// Requests within the limits that reach and see every item that can be, as far as they are found. The same
/// seed gives the same requests.
Stimulus makeStimulus(const Limits& limits, uint32_t seed);

}  // namespace vantor::verification
