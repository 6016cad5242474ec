#include "verification/path.h"

namespace vantor::verification {

PathState Path::fresh() const {
    PathState state{{}, 0, 0};
    for (const Stage& stage : stages_) {
        const auto& slots = stage.unit->fresh;
        for (int i = 0; i < stage.instances; ++i)
            state.slots.insert(state.slots.end(), slots.begin(), slots.end());
    }
    return state;
}

void Path::evaluate(PathState& state, size_t first, const Fault* fault) const {
    for (size_t stage = first; stage < stages_.size(); ++stage) {
        if (!isActive(state, stage)) continue;
        for (int i = 0; i < stages_[stage].instances; ++i) {
            int64_t* values = slots(state, stage, i);
            feed(state, stage, i, values);
            stages_[stage].unit->evaluate(values, stage == first ? fault : nullptr);
        }
    }
}

size_t Path::addStage(const std::string& name, const char* unit, int instances) {
    const Unit& found = unitNamed(unit);
    stages_.push_back({name_ + "." + name, &found, instances, slots_});
    slots_ += static_cast<size_t>(instances) * found.fresh.size();
    return stages_.size() - 1;
}

Path::Register Path::find(size_t stage, const char* quantity) const {
    return {stage, static_cast<size_t>(stages_[stage].unit->slot(quantity))};
}

}  // namespace vantor::verification
