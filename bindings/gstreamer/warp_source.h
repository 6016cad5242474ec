// What a warp is made of, as users write it, and the grid that it becomes.
#pragma once

#include <string>
#include <vector>

#include "geometry/size.h"
#include "vantor/vantor.h"

namespace vantor::gstreamer {

enum class WarpKind { None, Grid, Matrix, Calibration, Lens };

struct WarpSource {
    WarpKind kind = WarpKind::None;
    std::string text;  ///< of a grid and a calibration the file's path, else numbers
};

struct MadeWarp {
    vantor_grid grid{};
    bool isIdentity = true;
    std::vector<std::string> notes;  ///< what may not be expected of it
};

/// For pictures of a size. Throws a tool::UserError that names the file or the numbers at fault.
MadeWarp makeWarp(const WarpSource& source, Size picture);

}  // namespace vantor::gstreamer
