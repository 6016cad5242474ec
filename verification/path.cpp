#include "verification/path.h"

#include <algorithm>
#include <limits>
#include <map>

namespace vantor::verification {
namespace {

constexpr size_t kMaxOperands = 18;
constexpr int64_t kNotFed = std::numeric_limits<int64_t>::min();

}  // namespace

PathState Path::fresh() const {
    PathState state{{}, std::vector<uint32_t>(stages_.size()), 0, 0};
    for (const Stage& stage : stages_) {
        std::vector<int64_t> slots = stage.unit->fresh;
        std::fill_n(slots.begin(), stage.unit->operands.size(), kNotFed);
        for (int i = 0; i < stage.instances; ++i)
            state.slots.insert(state.slots.end(), slots.begin(), slots.end());
    }
    return state;
}

void Path::evaluate(PathState& state, size_t first, size_t end) const {
    for (size_t stage = first; stage < std::min(end, stages_.size()); ++stage) {
        if (!isActive(state, stage)) continue;
        const Unit& unit = *stages_[stage].unit;
        const size_t count = unit.operands.size();
        for (int i = 0; i < stages_[stage].instances; ++i) {
            int64_t* values = slots(state, stage, i);
            int64_t operands[kMaxOperands];
            feed(state, stage, i, operands);
            if (std::equal(operands, operands + count, values)) continue;
            std::copy_n(operands, count, values);
            unit.evaluate(values);
            ++state.versions[stage];
        }
    }
}

void Path::damage(PathState& state, size_t stage, const Fault& fault) const {
    for (int i = 0; i < stages_[stage].instances; ++i) {
        stages_[stage].unit->damage(slots(state, stage, i), fault);
    }
}

size_t Path::addStage(const std::string& name, const char* unit, Direction direction, int instances) {
    const Unit& found = unitNamed(unit);
    stages_.push_back({name_ + "." + name, &found, direction, instances, slots_});
    slots_ += static_cast<size_t>(instances) * found.fresh.size();
    return stages_.size() - 1;
}

Path::Register Path::find(size_t stage, const char* quantity) const {
    return {stage, static_cast<size_t>(stages_[stage].unit->slot(quantity))};
}

const Unit& unitOfStage(const std::string& name) {
    static const auto units = [] {
        std::map<std::string, const Unit*> found;
        const auto addAll = [&](const Path& path) {
            for (const Stage& stage : path.stages()) found[stage.name] = stage.unit;
        };
        for (const bool isReduction : {false, true}) {
            for (const bool isChroma : {false, true}) addAll(ScalePath(isReduction, isChroma));
        }
        addAll(WarpPath());
        return found;
    }();
    return *units.at(name);
}

}  // namespace vantor::verification
