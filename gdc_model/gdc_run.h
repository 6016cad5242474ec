// The core's run with settings that the engine fixes.
#pragma once

#include <cstdint>

#include "gdc_model/gdc_frame.h"

namespace vantor {

/// Computes the region and leaves the state of the run. GdcCore is this with default settings. Aborts
/// if there is no memory for a row's positions.
void runGdc(const GdcFrame& frame, uint16_t* dst, const uint16_t* src, const int* gridDX,
            const int* gridDY) noexcept;

}  // namespace vantor
