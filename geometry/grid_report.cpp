#include "geometry/grid_report.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "gdc_model/grid_interp.h"
#include "gdc_model/sampling.h"
#include "geometry/source_rows.h"

namespace vantor {
namespace {

using Nodes = std::array<std::array<Point, kGridNodes>, kGridNodes>;

/// Where the nodes take their pixels from.
Nodes sourcesOf(const Grid& grid, Size frame) {
    Nodes nodes;
    for (int row = 0; row < kGridNodes; ++row) {
        for (int column = 0; column < kGridNodes; ++column) {
            nodes[static_cast<size_t>(row)][static_cast<size_t>(column)] =
                nodeSource(grid, row, column, frame);
        }
    }
    return nodes;
}

bool isFolded(const Nodes& nodes, size_t row, size_t column) {
    const Point corners[] = {nodes[row][column], nodes[row][column + 1], nodes[row + 1][column + 1],
                             nodes[row + 1][column]};
    for (size_t i = 0; i < 4; ++i) {
        const Point &before = corners[(i + 3) % 4], &at = corners[i], &after = corners[(i + 1) % 4];
        const double area = (at.x - before.x) * (after.y - at.y) - (at.y - before.y) * (after.x - at.x);
        if (area <= 0) return true;
    }
    return false;
}

bool isFromInside(const SourceRows& rows, int column, Size frame) {
    return isInside(rows.x()[column], frame.width) && isInside(rows.y()[column], frame.height);
}

double shareOutside(const Grid& grid, Size frame) {
    SourceRows rows(grid, frame, frame);
    size_t outside = 0;
    for (int row = 0; row < frame.height; ++row) {
        rows.compute(row);
        for (int i = 0; i < frame.width; ++i) outside += !isFromInside(rows, i, frame);
    }
    return static_cast<double>(outside) / static_cast<double>(frame.pixels());
}

}  // namespace

bool isBeyondRange(int32_t value) {
    return clampDisplacement(value >> 1) != value >> 1;
}

std::bitset<kGridCells * kGridCells> foldedCells(const Grid& grid, Size frame) {
    const Nodes nodes = sourcesOf(grid, frame);
    std::bitset<kGridCells * kGridCells> folded;
    for (size_t cell = 0; cell < folded.size(); ++cell)
        folded[cell] = isFolded(nodes, cell / kGridCells, cell % kGridCells);
    return folded;
}

NodeReport examineNodes(const Grid& grid, Size frame) {
    const auto beyond = std::count_if(std::begin(grid.dX), std::end(grid.dX), isBeyondRange) +
                        std::count_if(std::begin(grid.dY), std::end(grid.dY), isBeyondRange);
    NodeReport report{};
    report.minDisplacement = report.maxDisplacement = nodeDisplacement(grid, 0, 0, frame);
    for (int index = 1; index < kGridNodes * kGridNodes; ++index) {
        const Point displacement = nodeDisplacement(grid, index / kGridNodes, index % kGridNodes, frame);
        report.minDisplacement = {std::min(report.minDisplacement.x, displacement.x),
                                  std::min(report.minDisplacement.y, displacement.y)};
        report.maxDisplacement = {std::max(report.maxDisplacement.x, displacement.x),
                                  std::max(report.maxDisplacement.y, displacement.y)};
    }
    report.nodesBeyondRange = static_cast<int>(beyond);
    report.foldedCells = static_cast<int>(foldedCells(grid, frame).count());
    return report;
}

GridReport examine(const Grid& grid, Size frame) {
    return {examineNodes(grid, frame), shareOutside(grid, frame)};
}

double largestChange(const Grid& before, const Grid& after, Size frame) {
    double largest = 0;
    for (int index = 0; index < kGridNodes * kGridNodes; ++index) {
        const int row = index / kGridNodes, column = index % kGridNodes;
        const Point from = nodeDisplacement(before, row, column, frame);
        const Point to = nodeDisplacement(after, row, column, frame);
        largest = std::max(largest, length({to.x - from.x, to.y - from.y}));
    }
    return largest;
}

GridError measureError(const Grid& grid, const SourceMap& map, Size picture, Size frame, Counted counted) {
    SourceRows rows(grid, frame, picture);
    GridError error;
    double squares = 0;
    for (int y = 0; y < picture.height; ++y) {
        rows.compute(y);
        for (int x = 0; x < picture.width; ++x) {
            const Point at{rows.x()[x] / 256.0, rows.y()[x] / 256.0};
            const Point ideal = map({x + 0.5, y + 0.5});
            const bool isIdealInside =
                ideal.x >= 0 && ideal.y >= 0 && ideal.x < picture.width && ideal.y < picture.height;
            if (!isIdealInside && !(counted == Counted::InsideByEither && isFromInside(rows, x, frame)))
                continue;
            const double distance = length({at.x - ideal.x, at.y - ideal.y});
            ++error.pixels;
            squares += distance * distance;
            error.beyondHalf += !(distance <= 0.5);
            if (!(distance > error.largest)) continue;
            error.largest = distance;
            error.largestX = x;
            error.largestY = y;
        }
    }
    if (error.pixels > 0) error.rms = std::sqrt(squares / static_cast<double>(error.pixels));
    return error;
}

}  // namespace vantor
