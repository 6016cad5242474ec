// What a run leaves in the variables of gdc_state.h.
#pragma once

#include "gdc_model/gdc_frame.h"
#include "gdc_model/sampling.h"

namespace vantor {

/// The run's parameters and its grids of 1089 nodes each.
void loadState(const GdcFrame& frame, const int* gridDX, const int* gridDY);

/// The virtual position of its last pixel.
void storeLastPosition(const GdcFrame& frame);

/// Its last bilinear interpolation.
void storeBilinear(const Bilinear& last);

}  // namespace vantor
