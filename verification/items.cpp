#include "verification/items.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace vantor::verification {
namespace {

using Json = nlohmann::ordered_json;

/// Roundings that hardware may have instead of the right one. Truncation is only taken for truncation towards
/// zero and for a rounding that was left in.
std::vector<Rounding> mistakes(Rounding rounding, bool hasTies) {
    if (rounding == Rounding::Floor) return {Rounding::Zero, Rounding::HalfUp};
    if (rounding == Rounding::Zero) return {Rounding::Floor, Rounding::HalfUp};
    std::vector<Rounding> others{Rounding::Floor, Rounding::Zero};
    if (hasTies) {
        for (const Rounding tie : {Rounding::HalfUp, Rounding::HalfAway, Rounding::HalfEven}) {
            if (tie != rounding) others.push_back(tie);
        }
    }
    return others;
}

/// Whether two roundings can differ for numerators of that sign.
bool canDiffer(Rounding a, Rounding b, bool isNegative) {
    constexpr int kDenominator = 4;
    for (int i = 0; i < 2 * kDenominator; ++i) {
        const int numerator = isNegative ? -1 - i : i;
        if (rounded(numerator, kDenominator, a) != rounded(numerator, kDenominator, b)) return true;
    }
    return false;
}

const std::string& words(Rounding rounding) {
    static const std::string kWords[] = {"is rounded down", "is cut off towards zero", "is rounded half up",
                                         "is rounded half away from zero", "is rounded half to even"};
    return kWords[static_cast<size_t>(rounding)];
}

/// Whether a name fits a pattern with asterisks.
bool fits(const char* pattern, const char* name) {
    if (*pattern == '*') return fits(pattern + 1, name) || (*name && fits(pattern, name + 1));
    return *pattern == *name && (*pattern == 0 || fits(pattern + 1, name + 1));
}

std::string proofOf(const std::string& name) {
    static const Json kProofs = Json::parse(arithmeticJson())["proofs"];
    for (const Json& proof : kProofs) {
        for (const Json& pattern : proof["items"]) {
            if (fits(pattern.get<std::string>().c_str(), name.c_str())) return proof["why"];
        }
    }
    return {};
}

class Collector {
public:
    Collector(const Path& path, const Limits& limits) : path_(path), limits_(limits) {}

    std::vector<Item> collect() {
        for (stage_ = 0; stage_ < path_.stages().size(); ++stage_) {
            const Unit& unit = *path_.stages()[stage_].unit;
            ranges_.clear();
            const Use use{path_.stages()[stage_].direction, path_.pixelStep() == 2};
            if (dependsOnLimits(unit)) ranges_ = rangesOf(unit, limits_, use);
            for (index_ = 0; index_ < unit.quantities.size(); ++index_) addQuantity(unit.quantities[index_]);
        }
        return std::move(items_);
    }

private:
    void addQuantity(const Quantity& quantity) {
        if (const Format format = formatOf(quantity); format.bits > 1) {
            add("width", Fault::Narrow, "needs all of its " + std::to_string(format.bits) + " bits");
            items_.back().fault.kept = {format.isSigned, format.bits - 1, 0};
            if (items_.back().proof.empty()) items_.back().proof = proofByDistance(quantity, format.bits);
        }
        if (quantity.rounding && !quantity.isConstant) addRoundings(quantity);
        if (quantity.clamp) {
            add("low", Fault::NoLow, "is below the clamp's lower bound");
            add("high", Fault::NoHigh, "is above the clamp's upper bound");
            add("untouched", Fault::StuckLow, "passes the clamp as it is, above its lower bound");
            add("at_low", Fault::TightLow, "is clamped to, or just is, the lower bound");
            add("at_high", Fault::TightHigh, "is clamped to, or just is, the upper bound");
        }
        if (quantity.unfolded) add("folded", Fault::Unfolded, "is folded back at a border");
        if (!quantity.every) return;
        for (int value = quantity.every->first; value <= quantity.every->second; ++value) {
            const std::string text = std::to_string(value);
            add(text, Fault::Confused, "is " + text, Item::Any, Rounding::Floor, value);
        }
    }

    Format formatOf(const Quantity& quantity) const {
        return ranges_.empty() ? quantity.format : ranges_[index_].bound();
    }

    /// Why a clamp is never needed, if the limits are the reason.
    std::string proofByRange(const Quantity& quantity, Fault::Kind fault) const {
        const Unit& unit = *path_.stages()[stage_].unit;
        const bool isLow = fault == Fault::NoLow || fault == Fault::TightLow;
        const bool isHigh = fault == Fault::NoHigh || fault == Fault::TightHigh;
        const int before = quantity.formula.slot - unit.slotOf(0);
        if (ranges_.empty() || !(isLow || isHigh) || before < 0 || before >= static_cast<int>(index_))
            return {};
        const Formula& bound = isLow ? quantity.clamp->first : quantity.clamp->second;
        if (!bound.code.empty()) return {};
        const Range& range = ranges_[static_cast<size_t>(before)];
        const int64_t limit = unit.fresh[static_cast<size_t>(bound.slot)];
        const bool canReach = isLow ? range.low < limit + (fault == Fault::TightLow)
                                    : range.high > limit - (fault == Fault::TightHigh);
        if (canReach) return {};
        return "Within the limits " + unit.quantities[static_cast<size_t>(before)].name + " is from " +
               std::to_string(range.low) + " to " + std::to_string(range.high) + ".";
    }

    /// Why a register of the displacement that lacks its top bit never shows, if the limits are the reason.
    std::string proofByDistance(const Quantity& quantity, int bits) const {
        const Stage& stage = path_.stages()[stage_];
        const bool isProduct = quantity.name == "product";
        if (stage.unit->name != "source_position" || !(isProduct || quantity.name == "moved")) return {};
        const int side = stage.direction == Direction::Across ? limits_.warped.width : limits_.warped.height;
        const int64_t picture = int64_t{side} * 256 * (isProduct ? 1 << 13 : 1);
        const int64_t farthest = std::max(-ranges_[index_].low, ranges_[index_].high);
        if ((int64_t{1} << (bits - 1)) - farthest < picture || int64_t{1} << (bits - 2) < picture) return {};
        return "Within the limits a value that needs the top bit moves a pixel out of the picture, and so "
               "does what is "
               "left without it, to the other side.";
    }

    void addRoundings(const Quantity& quantity) {
        const bool hasTies = quantity.shift || (quantity.divisor && quantity.divisor->text != "3");
        for (const Rounding other : mistakes(*quantity.rounding, hasTies)) {
            for (const bool isNegative : {false, true}) {
                if (isNegative && !quantity.format.isSigned) continue;
                if (!canDiffer(*quantity.rounding, other, isNegative)) continue;
                add(std::string(toString(other)) + (isNegative ? ".negative" : ".positive"), Fault::Rounds,
                    "would differ if it " + words(other).substr(3) +
                        (isNegative ? ", of a negative value" : ""),
                    isNegative ? Item::Negative : Item::Positive, other);
            }
        }
    }

    void add(const std::string& kind, Fault::Kind fault, const std::string& reason,
             Item::Sign sign = Item::Any, Rounding rounding = Rounding::Floor, int value = 0) {
        const Stage& stage = path_.stages()[stage_];
        const Quantity& quantity = stage.unit->quantities[index_];
        const std::string name = stage.name + "." + quantity.name + "." + kind;
        std::string proof = proofByRange(quantity, fault);
        if (stage.unit->name == "virtual_axis" && rounding == Rounding::HalfEven &&
            !hasTies(limits_, stage.direction)) {
            proof = "For no size within the limits a position is half way between two.";
        }
        items_.push_back({name,
                          quantity.name + " " + reason,
                          stage_,
                          {static_cast<int>(index_), fault, rounding, {}},
                          sign,
                          value,
                          proof.empty() ? proofOf(name) : proof});
    }

    const Path& path_;
    const Limits& limits_;
    std::vector<Range> ranges_;  ///< of the stage, where the limits matter
    size_t stage_ = 0;
    size_t index_ = 0;
    std::vector<Item> items_;
};

}  // namespace

bool Item::isReached(const Quantity& quantity, const int64_t* values, int slot) const {
    const int64_t result = values[slot];
    const int64_t before = values[quantity.formula.slot];
    switch (fault.kind) {
        case Fault::Narrow:
            return !fault.kept.holds(result);
        case Fault::Rounds: {
            if ((sign == Negative) != (before < 0)) return false;
            const int64_t denominator =
                quantity.shift ? int64_t{1} << values[quantity.shift->slot] : values[quantity.divisor->slot];
            return rounded(before, denominator, fault.rounding) != result;
        }
        case Fault::NoLow:
            return before < values[quantity.clamp->first.slot];
        case Fault::NoHigh:
            return before > values[quantity.clamp->second.slot];
        case Fault::StuckLow:
            return before == result && result > values[quantity.clamp->first.slot];
        case Fault::TightLow:
            return result == values[quantity.clamp->first.slot];
        case Fault::TightHigh:
            return result == values[quantity.clamp->second.slot];
        case Fault::Unfolded:
            return result != values[quantity.unfolded->slot];
        case Fault::Confused:
            return result == value;
    }
    return false;
}

std::vector<Item> itemsOf(const Path& path, const Limits& limits) {
    return Collector(path, limits).collect();
}

}  // namespace vantor::verification
