#include "bench/cases.h"

#include <cmath>

#include "gdc_model/gdc_scales.h"

namespace vantor::bench {
namespace {

std::string name(Size size) {
    return std::to_string(size.width) + 'x' + std::to_string(size.height);
}

ScaleCase scaling(Size src, Size dst) {
    return {name(src) + " to " + name(dst), src, dst};
}

/// Corrects barrel distortion: corners are displaced by half a percent of the half diagonal.
Grid mildGrid(Size size) {
    WarpParts parts;
    parts.lens = {-0.005};
    return makeGrid(WarpMap(parts, size), size);
}

/// Zoomed in so that little lies outside the source.
Grid turnedGrid(Size size, double degrees) {
    WarpParts parts;
    parts.rotate = degrees;
    parts.zoom = degrees == 90 ? static_cast<double>(size.width) / size.height : 1.5;
    return makeGrid(WarpMap(parts, size), size);
}

/// Four waves across and down, so high that the picture runs backward between them.
Grid foldingGrid(Size size) {
    const auto displacement = [](int node, int side, int invScale) {
        const double pixels = side / 16.0 * std::sin(node * std::acos(-1.0) / 4);
        return static_cast<int32_t>(std::lround(pixels * 256 * 16384 / invScale));
    };
    Grid grid;
    for (int k = 0; k < 33 * 33; ++k) {
        grid.dX[k] = displacement(k % 33, size.width, gdcScalesX(size.width).invScale);
        grid.dY[k] = displacement(k / 33, size.height, gdcScalesY(size.height).invScale);
    }
    return grid;
}

/// Widths are multiples of 16, and one and a half of them even.
std::vector<Size> sweptSizes() {
    return {{96, 64},     {192, 128},   {384, 256},   {768, 512},
            {1536, 1024}, {3072, 2048}, {6144, 4096}, {8192, 6144}};
}

}  // namespace

std::vector<ScaleCase> scaleCases() {
    return {scaling({1920, 1080}, {1280, 720}),  scaling({1920, 1080}, {1366, 768}),
            scaling({4032, 3024}, {1920, 1440}), scaling({3840, 2160}, {1024, 576}),
            scaling({3840, 2160}, {1920, 1080}), scaling({1280, 720}, {1920, 1080}),
            scaling({960, 540}, {3840, 2160}),   scaling({640, 480}, {1280, 960}),
            scaling({144, 96}, {96, 64})};
}

std::vector<WarpCase> warpCases() {
    std::vector<WarpCase> cases;
    for (const Size size : {Size{1920, 1080}, Size{4000, 3000}}) {
        cases.push_back({name(size) + " mild", size, mildGrid});
        cases.push_back({name(size) + " turned 45", size, [](Size s) { return turnedGrid(s, 45); }});
        cases.push_back({name(size) + " turned 90", size, [](Size s) { return turnedGrid(s, 90); }});
        cases.push_back({name(size) + " folding", size, foldingGrid});
    }
    return cases;
}

std::vector<ScaleCase> scaleSweep() {
    std::vector<ScaleCase> cases;
    for (const Size size : sweptSizes()) {
        cases.push_back({"reduce 3:2 to " + name(size), {size.width * 3 / 2, size.height * 3 / 2}, size});
        cases.push_back({"enlarge 1:2 to " + name(size), {size.width / 2, size.height / 2}, size});
    }
    return cases;
}

std::vector<WarpCase> warpSweep() {
    std::vector<WarpCase> cases;
    for (const Size size : sweptSizes()) cases.push_back({"warp " + name(size), size, mildGrid});
    return cases;
}

}  // namespace vantor::bench
