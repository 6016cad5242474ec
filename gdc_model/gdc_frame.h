// The parameters of one model run.
#pragma once

#include "gdc_model/output_region.h"

namespace vantor {

/// What the engine fixes for a whole run, as it fixes the axes' crop and mirror to 0. The defaults are its
/// values; tests vary them.
struct GdcSettings {
    int interpType = 3;
    int clampType = 2;
    int yuvFormat = 1;
    int src10bit = 0;
    int dst10bit = 0;

    bool is420() const { return yuvFormat == 1; }
};

/// The parameters of one axis; units as for the state variables of the same names.
struct GdcAxis {
    int sourceSize;
    int scaleShifter;
    int scale;
    int invScale;
    int outScale;
    int outCropStart;
    int outCropSize;
    int cropStart;
    int mirror;
};

struct GdcFrame {
    GdcSettings settings;
    GdcAxis x;
    GdcAxis y;
};

/// The parameters of a request at one size: output and source to the same scale.
GdcFrame requestFrame(int width, int height, const OutputRegion& region);

}  // namespace vantor
