// How pictures of a size map to the grid's virtual frame.
#pragma once

namespace vantor {

/// GdcCore's arguments of the same names, for one axis.
struct GdcScales {
    int shifter;
    int scale;
    int invScale;
};

GdcScales gdcScalesX(int width);
GdcScales gdcScalesY(int height);

constexpr int kMaxScale = 65535;   ///< that requests hand to the core
constexpr int kOutScaleOne = 128;  ///< output step of one source sample

}  // namespace vantor
