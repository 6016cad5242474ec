// Pages on which the engine itself runs.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "gdc_model/grid.h"
#include "geometry/undistort_map.h"
#include "geometry/warp_map.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// Words of a command line, as `vantor warp` takes them.
using Arguments = std::vector<std::string>;

struct LivePicture {
    std::string name;
    Arguments options;  ///< that describe the file
    Picture picture;
};

/// What the page begins with: a grid, which is that of the parts or of the calibration where there are any.
struct LiveWarp {
    std::string name;   ///< of the file that describes it
    Arguments options;  ///< that give it
    Grid grid;
    std::optional<WarpParts> parts;
    std::optional<Calibration> calibration;
    std::optional<double> alpha;
};

/// Whether this build has the engine for browsers.
bool hasLivePage();

/// One self-contained HTML file.
std::vector<uint8_t> livePage(const LivePicture& picture, const std::optional<LiveWarp>& warp);

}  // namespace vantor::tool
