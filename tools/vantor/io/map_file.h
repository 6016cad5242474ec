// Dense maps, in NumPy's files.
#pragma once

#include <string>
#include <vector>

#include "geometry/size.h"

namespace vantor::tool {

/// For each pixel of a picture the position that it comes from, as DenseMap takes it.
struct MapFile {
    std::vector<float> x;
    std::vector<float> y;
    Size size;
};

/// From one file with an array of shape (height, width, 2), if `yPath` is empty; else from two of shape
/// (height, width). They hold float32 of either byte order, row by row.
MapFile readMap(const std::string& path, const std::string& yPath);

}  // namespace vantor::tool
