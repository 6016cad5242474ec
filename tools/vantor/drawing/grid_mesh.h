// The lines that join a grid's nodes.
#pragma once

#include <vector>

#include "gdc_model/grid_interp.h"
#include "geometry/point.h"

namespace vantor::tool {

/// 33 pairs of lines, a row's and a column's, through the points that `at` gives for nodes (row, column).
template <typename NodePoint>
std::vector<std::vector<Point>> meshLines(NodePoint&& at) {
    std::vector<std::vector<Point>> lines;
    for (int i = 0; i < kGridNodes; ++i) {
        std::vector<Point> across, down;
        for (int j = 0; j < kGridNodes; ++j) {
            across.push_back(at(i, j));
            down.push_back(at(j, i));
        }
        lines.push_back(across);
        lines.push_back(down);
    }
    return lines;
}

}  // namespace vantor::tool
