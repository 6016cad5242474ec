#include "verification/arithmetic.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "scaler/interp4_filter.h"
#include "verification/arithmetic_json.h"
#include "verification/formula.h"

namespace vantor::verification {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* kRoundings[] = {"floor", "zero", "half_up", "half_away", "half_even"};

Rounding roundingNamed(const std::string& name) {
    const auto found = std::find(std::begin(kRoundings), std::end(kRoundings), name);
    if (found == std::end(kRoundings)) throw std::runtime_error("rounding " + name);
    return static_cast<Rounding>(found - std::begin(kRoundings));
}

Format parseFormat(const std::string& text) {
    const size_t point = text.find('.');
    return {text[0] == 's', std::stoi(text.substr(1)),
            point == std::string::npos ? 0 : std::stoi(text.substr(point + 1))};
}

std::string textOf(const Json& value) {
    return value.is_string() ? value.get<std::string>() : std::to_string(value.get<int>());
}

Quantity parseQuantity(const Json& json, FormulaCompiler& compiler) {
    Quantity quantity{json["name"], json.value("about", ""), parseFormat(json["format"]),
                      compiler.compile(json["formula"])};
    const auto formula = [&](const char* key) -> std::optional<Formula> {
        if (!json.contains(key)) return {};
        return compiler.compile(textOf(json[key]));
    };
    if (json.contains("rounding")) quantity.rounding = roundingNamed(json["rounding"]);
    quantity.shift = formula("shift");
    quantity.divisor = formula("divide");
    if (json.contains("clamp")) {
        quantity.clamp = {compiler.compile(json["clamp"][0]), compiler.compile(json["clamp"][1])};
    }
    quantity.unfolded = formula("fold");
    if (json.contains("each")) quantity.every = {json["each"][0], json["each"][1]};
    quantity.isConstant = json.value("constant", false);
    return quantity;
}

/// The instructions of a quantity that gets `slot`.
void assemble(const Quantity& quantity, int slot, std::vector<Instruction>& program) {
    const auto add = [&](const Formula& formula) {
        program.insert(program.end(), formula.code.begin(), formula.code.end());
        return formula.slot;
    };
    const int value = add(quantity.formula);
    if (quantity.rounding) {
        const int rounding = static_cast<int>(*quantity.rounding);
        if (quantity.shift) {
            program.push_back({Instruction::ShiftRight, slot, value, add(*quantity.shift), rounding});
        } else {
            program.push_back({Instruction::Divide, slot, value, add(*quantity.divisor), rounding});
        }
    } else if (quantity.clamp) {
        const int low = add(quantity.clamp->first);
        program.push_back({Instruction::Clamp, slot, value, low, add(quantity.clamp->second)});
    } else {
        program.push_back({Instruction::Copy, slot, value, 0, 0});
    }
    if (quantity.unfolded) add(*quantity.unfolded);
}

Unit parseUnit(const Json& json) {
    Unit unit{json["name"], json["about"], {}, {}, {}, {}, {}};
    std::vector<std::string> names;
    for (const Json& operand : json["operands"]) {
        names.push_back(operand["name"]);
        unit.operands.push_back(
            {operand["name"], operand.value("about", ""), parseFormat(operand["format"])});
    }
    for (const Json& quantity : json["quantities"]) names.push_back(quantity["name"]);
    FormulaCompiler compiler(names);
    for (const Json& quantity : json["quantities"]) {
        unit.quantities.push_back(parseQuantity(quantity, compiler));
        assemble(unit.quantities.back(), unit.slotOf(unit.quantities.size() - 1), unit.program);
    }
    unit.fresh = compiler.slots();
    if (json.contains("result")) unit.result = static_cast<size_t>(unit.slot(json["result"]));
    return unit;
}

std::vector<Unit> parseList() {
    const Json list = Json::parse(kArithmeticJson);
    std::vector<Unit> units;
    for (const Json& unit : list["units"]) units.push_back(parseUnit(unit));
    return units;
}

int64_t interp4Weight(int64_t phase, int64_t tap) {
    static constexpr Interp4Filter kFilter = makeInterp4Filter();
    return kFilter[static_cast<size_t>(4 * phase + tap)];
}

/// From the quotient rounded down.
int64_t adjusted(int64_t numerator, int64_t floor, int64_t remainder, int64_t denominator,
                 Rounding rounding) {
    const int64_t twice = 2 * remainder;
    switch (rounding) {
        case Rounding::Floor:
            return floor;
        case Rounding::Zero:
            return floor + (numerator < 0 && remainder != 0);
        case Rounding::HalfUp:
            return floor + (twice >= denominator);
        case Rounding::HalfAway:
            return floor + (twice > denominator || (twice == denominator && numerator >= 0));
        case Rounding::HalfEven:
            return floor + (twice > denominator || (twice == denominator && floor % 2 != 0));
    }
    return floor;
}

int64_t shiftedRight(int64_t value, int64_t bits, Rounding rounding) {
    const int64_t denominator = int64_t{1} << bits;
    const int64_t floor = value >> bits;
    return adjusted(value, floor, value - floor * denominator, denominator, rounding);
}

void run(const std::vector<Instruction>& program, int64_t* values) {
    for (const Instruction& i : program) {
        const int64_t a = values[i.a];
        const int64_t b = values[i.b];
        int64_t& target = values[i.target];
        switch (i.operation) {
            case Instruction::Add:
                target = a + b;
                break;
            case Instruction::Subtract:
                target = a - b;
                break;
            case Instruction::Multiply:
                target = a * b;
                break;
            case Instruction::ShiftLeft:
                target = a * (int64_t{1} << b);
                break;
            case Instruction::And:
                target = a & b;
                break;
            case Instruction::Less:
                target = a < b;
                break;
            case Instruction::Equal:
                target = a == b;
                break;
            case Instruction::AtLeast:
                target = a >= b;
                break;
            case Instruction::Select:
                target = a ? b : values[i.c];
                break;
            case Instruction::Min:
                target = std::min(a, b);
                break;
            case Instruction::Max:
                target = std::max(a, b);
                break;
            case Instruction::Table:
                target = interp4Weight(a, b);
                break;
            case Instruction::Copy:
                target = a;
                break;
            case Instruction::ShiftRight:
                target = shiftedRight(a, b, static_cast<Rounding>(i.c));
                break;
            case Instruction::Divide:
                target = rounded(a, b, static_cast<Rounding>(i.c));
                break;
            case Instruction::Clamp:
                target = std::min(std::max(a, b), values[i.c]);
                break;
        }
    }
}

int64_t resultOf(const Formula& formula, int64_t* values) {
    run(formula.code, values);
    return values[formula.slot];
}

int64_t clamped(const Quantity& quantity, int64_t value, int64_t* values, const Fault* fault) {
    int64_t low = resultOf(quantity.clamp->first, values);
    int64_t high = resultOf(quantity.clamp->second, values);
    if (fault) {
        if (fault->kind == Fault::NoLow) return std::min(value, high);
        if (fault->kind == Fault::NoHigh) return std::max(value, low);
        if (fault->kind == Fault::StuckLow) return low;
        low += fault->kind == Fault::TightLow;
        high -= fault->kind == Fault::TightHigh;
    }
    return std::min(std::max(value, low), high);
}

/// What the faults that are not part of rounding and clamping leave of a value.
int64_t damaged(const Quantity& quantity, int64_t value, int64_t* values, const Fault& fault) {
    if (fault.kind == Fault::Narrow) return fault.kept.kept(value);
    if (fault.kind == Fault::Unfolded) return resultOf(*quantity.unfolded, values);
    if (fault.kind != Fault::Confused) return value;
    const auto [first, last] = *quantity.every;
    const int64_t other = first + ((value - first) ^ 1);
    return other > last ? value - 1 : other;
}

}  // namespace

const char* toString(Rounding rounding) {
    return kRoundings[static_cast<int>(rounding)];
}

int64_t rounded(int64_t numerator, int64_t denominator, Rounding rounding) {
    const int64_t quotient = numerator / denominator;
    const int64_t floor = quotient - (quotient * denominator > numerator);
    return adjusted(numerator, floor, numerator - floor * denominator, denominator, rounding);
}

int64_t Format::kept(int64_t value) const {
    const uint64_t all = ~uint64_t{0} >> (64 - bits);
    const uint64_t low = static_cast<uint64_t>(value) & all;
    const bool isNegative = isSigned && low >> (bits - 1) != 0;
    return static_cast<int64_t>(isNegative ? low | ~all : low);
}

std::string toString(const Format& format) {
    return (format.isSigned ? "s" : "u") + std::to_string(format.bits) +
           (format.fraction > 0 ? "." + std::to_string(format.fraction) : "");
}

int Unit::slot(const std::string& wanted) const {
    const auto at = [&](const auto& list) {
        return std::find_if(list.begin(), list.end(), [&](const auto& e) { return e.name == wanted; }) -
               list.begin();
    };
    const auto operand = static_cast<size_t>(at(operands));
    return operand < operands.size() ? static_cast<int>(operand)
                                     : slotOf(static_cast<size_t>(at(quantities)));
}

void Unit::evaluate(int64_t* values) const {
    run(program, values);
}

void Unit::damage(int64_t* values, const Fault& fault) const {
    const auto first = static_cast<size_t>(fault.quantity);
    for (size_t i = first; i < quantities.size(); ++i) {
        const Quantity& quantity = quantities[i];
        const bool isHere = i == first;
        int64_t value = resultOf(quantity.formula, values);
        if (quantity.rounding) {
            const Rounding rounding =
                isHere && fault.kind == Fault::Rounds ? fault.rounding : *quantity.rounding;
            value = quantity.shift ? shiftedRight(value, resultOf(*quantity.shift, values), rounding)
                                   : rounded(value, resultOf(*quantity.divisor, values), rounding);
        }
        if (quantity.clamp) value = clamped(quantity, value, values, isHere ? &fault : nullptr);
        values[slotOf(i)] = isHere ? damaged(quantity, value, values, fault) : value;
    }
}

const std::vector<Unit>& arithmetic() {
    static const std::vector<Unit> units = parseList();
    return units;
}

const Unit& unitNamed(const std::string& name) {
    const auto& units = arithmetic();
    return *std::find_if(units.begin(), units.end(), [&](const Unit& unit) { return unit.name == name; });
}

const char* arithmeticJson() {
    return kArithmeticJson;
}

}  // namespace vantor::verification
