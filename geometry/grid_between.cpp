#include "geometry/grid_between.h"

#include <algorithm>
#include <iterator>

namespace vantor {

Grid gridBetween(const Grid& from, const Grid& to, int64_t step, int64_t steps) {
    const auto between = [=](int32_t a, int32_t b) {
        const int64_t halves = 2 * (int64_t{b} - a) * step + steps;
        const int64_t rounded = halves / (2 * steps) - (halves % (2 * steps) < 0);
        return static_cast<int32_t>(a + rounded);
    };
    Grid grid;
    std::transform(std::begin(from.dX), std::end(from.dX), to.dX, grid.dX, between);
    std::transform(std::begin(from.dY), std::end(from.dY), to.dY, grid.dY, between);
    return grid;
}

}  // namespace vantor
