#include "geometry/source_rows.h"

namespace vantor {
namespace {

const WarpKernels& kernels() {
    static const WarpKernels& best = bestTable(kWarpTables);
    return best;
}

/// Kernels write up to the next multiple of their lanes.
size_t rowWords(Size picture) {
    return static_cast<size_t>(picture.width) + 2 * kWarpLanes;
}

}  // namespace

SourceRows::SourceRows(const Grid& grid, Size frame, Size picture)
    : columns_(picture.width),
      frame_(requestFrame(frame.width, frame.height, {0, 0, picture.width - 1, picture.height - 1})),
      grids_(grid),
      memory_(WarpPositions::workingWords(frame_) + 2 * rowWords(picture)),
      positions_(frame_, memory_.data()),
      x_(memory_.data() + WarpPositions::workingWords(frame_)),
      y_(x_ + rowWords(picture)) {}

void SourceRows::compute(int row) {
    positions_.compute(kernels(), positions_.row(kernels(), grids_, row), row, 0, columns_, x_, y_);
}

}  // namespace vantor
