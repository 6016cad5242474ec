// Interp4's chroma: bilinear, of interleaved UV pairs.
#pragma once

#include "scaler/interp4_axis.h"
#include "scaler/planes.h"

namespace vantor {

/// Writes all of `dst`, whose columns are UV pairs. The axes are those of the luma.
void scaleInterp4Chroma(const SourcePlane& src, const Target& dst, const Interp4Axis& columnAxis,
                        const Interp4Axis& rowAxis);

}  // namespace vantor
