// How the device's entries divide the destination rows of a picture into bands.
#pragma once

#include "scaler/planes.h"

namespace vantor {

constexpr int kBands = 4;

/// Band 1 to 4 of `height` rows; the four partition the rows. Bands 1 and 3 run upward: the worker of the
/// band above a shared edge starts at that edge, while its source rows are warm in the shared cache.
RowRange quarterBand(int band, int height);

}  // namespace vantor
