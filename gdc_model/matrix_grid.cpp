#include "gdc_model/matrix_grid.h"

#include <algorithm>
#include <cmath>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_scales.h"
#include "processor/float_rounding.h"

namespace vantor {
namespace {

/// One axis of an affine map in single precision, in this order of operations.
int mapped(float along, float across, float offset, int position, int crossPosition, float denominator) {
    const float sum =
        across * static_cast<float>(crossPosition) + along * static_cast<float>(position) + offset;
    return saturateToInt(std::round(sum / denominator));
}

int clampTo(int value, int size) {
    return std::min(std::max(value, 0), wrapSub(size, 1));
}

/// A displacement of a node by whole pixels, in the grid's units.
int32_t virtualDisplacement(int pixels, int shifter, int scale) {
    const int odd = wrapAdd(wrapMul(2, pixels), 1);
    const int numerator = wrapAdd(wrapMul(odd, scale), powerOfTwo(shifter + 7));
    return wrapMul(divide(numerator, powerOfTwo(shifter + 8)), 256);
}

}  // namespace

Grid gridFromMatrix(const double* matrix, int width, int height, bool isClamped) {
    const int stepX = saturateToInt(std::round(static_cast<float>(width) * 0.03125F));
    const int stepY = saturateToInt(std::round(static_cast<float>(height) * 0.03125F));
    float m[6];
    std::transform(matrix, matrix + 6, m, [](double value) { return static_cast<float>(value); });
    const GdcScales scalesX = gdcScalesX(width);
    const GdcScales scalesY = gdcScalesY(height);

    Grid grid;
    for (int node = 0; node < kGridNodes * kGridNodes; ++node) {
        const int x = std::min(wrapMul(node % kGridNodes, stepX), width);
        const int y = std::min(wrapMul(node / kGridNodes, stepY), height);
        const float w = (static_cast<float>(y) * 0.0F + static_cast<float>(x) * 0.0F) + 1.0F;
        int nx = mapped(m[0], m[1], m[2], x, y, w);
        int ny = mapped(m[4], m[3], m[5], y, x, w);
        if (isClamped) {
            nx = clampTo(nx, width);
            ny = clampTo(ny, height);
        }
        grid.dX[node] = virtualDisplacement(wrapSub(nx, x), scalesX.shifter, scalesX.scale);
        grid.dY[node] = virtualDisplacement(wrapSub(ny, y), scalesY.shifter, scalesY.scale);
    }
    return grid;
}

}  // namespace vantor
