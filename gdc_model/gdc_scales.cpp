#include "gdc_model/gdc_scales.h"

#include <cmath>
#include <cstdint>

#include "gdc_model/fixed_point.h"

namespace vantor {
namespace {

/// The largest number of fraction bits, 0 to 7, that keeps the scale of a size within 16 bits: `full` is half
/// the virtual frame's size.
int scaleShifter(int size, int full) {
    if (size > full) return 7;
    for (int i = 0; i < 6; ++i) {
        if (int64_t{size} * (1 << i) > full / 2) return 6 - i;
    }
    return 0;
}

int scale(int size, int shifter, int frameSize) {
    const double numerator = static_cast<double>(size / 2) + std::ldexp(1.0, shifter + 8) * frameSize;
    return saturateToInt(numerator / size);
}

}  // namespace

GdcScales gdcScalesX(int width) {
    const int shifter = scaleShifter(width, 4096);
    return {shifter, scale(width, shifter, 8192), width};
}

GdcScales gdcScalesY(int height) {
    const int shifter = scaleShifter(height, 3072);
    return {shifter, scale(height, shifter, 6144), wrapAdd(wrapMul(8, height), 3) / 6};
}

}  // namespace vantor
