#include <algorithm>

#include "bindings/c/warp_size.h"
#include "gdc_model/grid_interp.h"
#include "verification/path.h"
#include "verification/sample.h"

namespace vantor::verification {
namespace {

constexpr const char* kTaps[] = {"tap0", "tap1", "tap2", "tap3"};

}  // namespace

WarpPath::WarpPath() : Path("warp") {
    x_.direction = Direction::Across;
    y_.direction = Direction::Down;
    addPosition(x_, "column", kVirtualCellWidth);
    addPosition(y_, "row", kVirtualCellHeight);
    addGrid(x_, "x");
    addGrid(y_, "y");
    addTaps(x_, "column");
    addTaps(y_, "row");
    luma_ = addStage("luma", "bicubic");
    colourStage_ = addStage("colour", "colour", Direction::Both, 2);
    chroma_ = addStage("chroma", "bilinear", Direction::Both, 2);
    colour_ = find(colourStage_, "colour");
    lumaValue_ = find(luma_, "value");
    chromaValue_ = find(chroma_, "value");
}

void WarpPath::addPosition(Axis& axis, const char* name, int cellSize) {
    axis.cellSize = cellSize;
    axis.position = addStage(name, "virtual_axis", axis.direction);
    axis.cell = find(axis.position, "cell");
    axis.within = find(axis.position, "within");
}

void WarpPath::addGrid(Axis& axis, const std::string& name) {
    axis.gridRow = addStage(name + "_row", "grid_row", axis.direction, 4);
    axis.gridCurve = addStage(name + "_curve", "grid_curve", axis.direction);
    axis.sourcePosition = addStage(name + "_source", "source_position", axis.direction);
    axis.node = find(axis.gridRow, "value");
    axis.displacement = find(axis.gridCurve, "displacement");
    axis.side = find(axis.sourcePosition, "side");
    axis.index = find(axis.sourcePosition, "index");
    axis.fraction = find(axis.sourcePosition, "fraction");
    axis.centre = find(axis.sourcePosition, "centre");
}

void WarpPath::addTaps(Axis& axis, const std::string& name) {
    axis.taps = addStage(name + "_taps", "warp_taps", axis.direction);
    axis.chromaTaps = addStage(name + "_pair_taps", "warp_pair_taps", axis.direction);
    for (size_t i = 0; i < 4; ++i) axis.tap[i] = find(axis.taps, kTaps[i]);
    for (size_t i = 0; i < 2; ++i) axis.chromaTap[i] = find(axis.chromaTaps, kTaps[i]);
    axis.distance = find(axis.chromaTaps, "distance");
}

void WarpPath::setRequest(const PictureView& source, const Grid& grid) {
    source_ = source;
    grid_ = grid;
    const auto [width, height] = c::extendedSize(source.size);
    const GdcFrame frame = requestFrame(width, height, {0, 0, width - 1, height - 1});
    x_.frame = frame.x;
    y_.frame = frame.y;
    x_.nodes = grid_.dX;
    y_.nodes = grid_.dY;
}

bool WarpPath::isInside(PathState& state) const {
    return value(state, x_.side) == 1 && value(state, y_.side) == 1;
}

bool WarpPath::isActive(PathState& state, size_t stage) const {
    if (stage < x_.taps || stage == luma_) return true;
    const bool isOfTaps = stage < luma_;
    if (isOfTaps && !isInside(state)) return false;
    const bool hasChroma = source_.chroma && (state.x & 1) == 0 && (state.y & 1) == 0;
    return hasChroma || stage == x_.taps || stage == y_.taps;
}

/// Outside the grid there is nothing.
int64_t WarpPath::node(const Axis& axis, int64_t row, int64_t column) const {
    if (row < 0 || row >= kGridNodes || column < 0 || column >= kGridNodes) return 0;
    return axis.nodes[kGridNodes * row + column];
}

bool WarpPath::feedAxis(PathState& state, const Axis& axis, size_t stage, int instance, int64_t position,
                        int64_t* operands) const {
    if (stage == axis.position) {
        operands[0] = position;
        operands[1] = axis.frame.scale;
        operands[2] = axis.frame.scaleShifter;
        operands[3] = axis.cellSize;
    } else if (stage == axis.gridRow) {
        const int64_t row = value(state, y_.cell) - 2;
        const int64_t column = value(state, x_.cell) - 2 + instance;
        for (int i = 0; i < 4; ++i) operands[i] = node(axis, row + i, column);
        operands[4] = value(state, y_.cell);
        operands[5] = value(state, y_.within);
    } else if (stage == axis.gridCurve) {
        for (int i = 0; i < 4; ++i) operands[i] = value(state, axis.node, i);
        operands[4] = value(state, x_.cell);
        operands[5] = value(state, x_.within);
    } else if (stage == axis.sourcePosition) {
        operands[0] = value(state, axis.displacement);
        operands[1] = axis.frame.invScale;
        operands[2] = position;
        operands[3] = axis.frame.sourceSize;
    } else if (stage == axis.taps) {
        operands[0] = value(state, axis.index);
        operands[1] = axis.frame.sourceSize;
    } else if (stage == axis.chromaTaps) {
        operands[0] = value(state, axis.index);
        operands[1] = value(state, axis.centre);
        operands[2] = value(state, axis.fraction);
        operands[3] = axis.frame.sourceSize / 2;
    } else {
        return false;
    }
    return true;
}

void WarpPath::feed(PathState& state, size_t stage, int instance, int64_t* operands) const {
    if (feedAxis(state, x_, stage, instance, state.x, operands) ||
        feedAxis(state, y_, stage, instance, state.y, operands)) {
        return;
    }
    const bool inside = isInside(state);
    // Pictures that are smaller than the frame repeat their last column and row.
    const auto within = [](int64_t tap, int size, int frame) {
        const int64_t at = ringIndex(tap, frame);
        return std::min<int64_t>(at, size - 1);
    };
    if (stage == luma_) {
        for (size_t j = 0; j < 4; ++j) {
            const int64_t row = within(value(state, y_.tap[j]), source_.size.height, y_.frame.sourceSize);
            for (size_t i = 0; i < 4; ++i) {
                const int64_t column =
                    within(value(state, x_.tap[i]), source_.size.width, x_.frame.sourceSize);
                operands[4 * j + i] = inside ? lumaSample(source_, column, row) : 0;
            }
        }
        operands[16] = value(state, x_.fraction);
        operands[17] = value(state, y_.fraction);
    } else if (stage == chroma_) {
        for (size_t k = 0; k < 4; ++k) {
            const int64_t column =
                within(value(state, x_.chromaTap[k % 2]), source_.size.width / 2, x_.frame.sourceSize / 2);
            const int64_t row =
                within(value(state, y_.chromaTap[k / 2]), source_.size.height / 2, y_.frame.sourceSize / 2);
            operands[k] = inside ? chromaSample(source_, column, row, value(state, colour_, instance)) : 128;
        }
        operands[4] = value(state, inside ? x_.distance : x_.fraction);
        operands[5] = value(state, inside ? y_.distance : y_.fraction);
    } else {
        operands[0] = instance;
    }
}

std::array<int, 3> WarpPath::samples(PathState& state) const {
    std::array<int, 3> samples{static_cast<uint8_t>(value(state, lumaValue_)), 0, 0};
    if (!isActive(state, chroma_)) return samples;
    for (int i = 0; i < 2; ++i)
        samples[static_cast<size_t>(1 + i)] = static_cast<uint8_t>(value(state, chromaValue_, i));
    return samples;
}

}  // namespace vantor::verification
