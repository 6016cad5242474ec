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
    size_t picture;
    Size target;    ///< of a scaling
    int grid = -1;  ///< of a warp: which grid
};

/// Requests in their order.
struct Stimulus {
    std::vector<StimulusPicture> pictures;
    std::vector<Grid> grids;
    std::vector<StimulusRequest> requests;

    /// Samples of all pictures and of all results.
    size_t samples() const;
};

/// Requests within the limits that reach and see every item that can be, as far as they were found, and what
/// they cover. The same seed gives the same requests.
Stimulus makeStimulus(const Limits& limits, uint32_t seed, Coverage& coverage);

}  // namespace vantor::verification
