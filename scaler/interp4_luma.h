// Interp4's luma: four taps across and down.
#pragma once

#include "scaler/interp4_axis.h"
#include "scaler/planes.h"

namespace vantor {

/// Writes all of `dst`. `coefficients` as NV12_Interp4_Interpolate takes them.
void scaleInterp4Luma(const SourcePlane& src, const Target& dst, const int16_t* coefficients,
                      const Interp4Axis& columnAxis, const Interp4Axis& rowAxis);

}  // namespace vantor
