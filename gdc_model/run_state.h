// What a client's run leaves in the variables of gdc_state.h.
#pragma once

#include <optional>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/sampling.h"

namespace vantor {

/// The run's parameters, its grids of 1089 nodes each, and, where it computed a region, the virtual position
/// of its last pixel and its last bilinear interpolation, if any. What the run did not touch stays as it is.
void storeRun(const GdcFrame& frame, const int* gridDX, const int* gridDY, bool hasRegion,
              const std::optional<Bilinear>& last);

}  // namespace vantor
