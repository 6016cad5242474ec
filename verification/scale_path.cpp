#include "scaler/interp4_axis.h"
#include "verification/path.h"
#include "verification/sample.h"

namespace vantor::verification {

ScalePath::ScalePath(bool isReduction, bool isChroma)
    : Path(std::string(isReduction ? "reduce" : "enlarge") + (isChroma ? ".chroma" : ".luma")),
      isReduction_(isReduction),
      isChroma_(isChroma),
      taps_(isChroma ? 2 : 4),
      column_(addAxis("column", Direction::Across)),
      row_(addAxis("row", Direction::Down)) {
    if (isChroma) {
        colourStage_ = addStage("colour", "colour", Direction::Both, 2);
        colour_ = find(colourStage_, "colour");
    }
    const int channels = isChroma ? 2 : 1;
    const char* const linear = isReduction ? "linear_truncated" : "linear_rounded";
    across_ = addStage("across",
                       isChroma      ? linear
                       : isReduction ? "cubic"
                                     : "interp4_across",
                       Direction::Both, channels * taps_);
    down_ = addStage("down",
                     isChroma      ? linear
                     : isReduction ? "cubic"
                                   : "interp4_down",
                     Direction::Both, channels);
    acrossValue_ = find(across_, isReduction || isChroma ? "value" : "row");
    downValue_ = find(down_, "value");
}

ScalePath::Axis ScalePath::addAxis(const std::string& name, Direction direction) {
    Axis axis{};
    axis.position = addStage(name,
                             isReduction_ ? "reduce_axis"
                             : isChroma_  ? "enlarge_chroma_axis"
                                          : "enlarge_axis",
                             direction);
    axis.index = find(axis.position, "index");
    axis.phase = find(axis.position, "phase");
    if (!isReduction_) return axis;
    axis.folding = addStage(name + "_taps", isChroma_ ? "pair_taps" : "reduce_taps", direction);
    constexpr const char* kTaps[] = {"tap0", "tap1", "tap2", "tap3"};
    for (int i = 0; i < taps_; ++i) axis.tap[static_cast<size_t>(i)] = find(axis.folding, kTaps[i]);
    return axis;
}

void ScalePath::setRequest(const PictureView& source, Size target) {
    source_ = source;
    output_ = isChroma_ ? Size{target.width / 2, target.height / 2} : target;
    setAxis(column_, source.size.width, target.width);
    setAxis(row_, source.size.height, target.height);
}

void ScalePath::setAxis(Axis& axis, int source, int target) const {
    axis.source = isChroma_ ? source / 2 : source;
    axis.operands[0] = isReduction_ ? axis.source : source;
    axis.operands[1] =
        isReduction_ ? (isChroma_ ? target / 2 : target) : Interp4Axis(source, 0, source, target).step();
}

bool ScalePath::feedAxis(PathState& state, const Axis& axis, size_t stage, int i, int64_t* operands) const {
    if (stage == axis.position) {
        operands[0] = axis.operands[0];
        operands[1] = axis.operands[1];
        operands[2] = i;
    } else if (isReduction_ && stage == axis.folding) {
        operands[0] = axis.source;
        operands[1] = value(state, axis.index);
    } else {
        return false;
    }
    return true;
}

int64_t ScalePath::tap(PathState& state, const Axis& axis, int i) const {
    if (isReduction_) return value(state, axis.tap[static_cast<size_t>(i)]);
    return value(state, axis.index) + i - (isChroma_ ? 0 : 1);
}

void ScalePath::feed(PathState& state, size_t stage, int instance, int64_t* operands) const {
    if (feedAxis(state, column_, stage, state.x, operands) || feedAxis(state, row_, stage, state.y, operands))
        return;
    if (stage == across_) {
        const int channel = instance / taps_;
        const int64_t row = tap(state, row_, instance % taps_);
        for (int i = 0; i < taps_; ++i) {
            const int64_t column = tap(state, column_, i);
            operands[i] = isChroma_ ? chromaSample(source_, column, row, value(state, colour_, channel))
                                    : lumaSample(source_, column, row);
        }
        operands[taps_] = value(state, column_.phase);
    } else if (stage == down_) {
        for (int i = 0; i < taps_; ++i) operands[i] = value(state, acrossValue_, taps_ * instance + i);
        operands[taps_] = value(state, row_.phase);
    } else {
        operands[0] = instance;
    }
}

std::array<int, 3> ScalePath::samples(PathState& state) const {
    std::array<int, 3> samples{};
    for (int i = 0; i < stages()[down_].instances; ++i) {
        samples[static_cast<size_t>(i)] = static_cast<uint8_t>(value(state, downValue_, i));
    }
    return samples;
}

}  // namespace vantor::verification
