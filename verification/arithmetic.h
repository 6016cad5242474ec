// The arithmetic of both engines, register by register, as verification/arithmetic.json lists it, and its
// evaluation.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vantor::verification {

/// How a quotient becomes a whole number.
enum class Rounding { Floor, Zero, HalfUp, HalfAway, HalfEven };

/// "floor", "zero", "half_up", "half_away", "half_even"
const char* toString(Rounding rounding);

/// numerator / denominator, which is positive.
int64_t rounded(int64_t numerator, int64_t denominator, Rounding rounding);

/// Two's complement or unsigned, of so many bits, the lowest of which are a fraction.
struct Format {
    bool isSigned;
    int bits;
    int fraction;

    /// What a register of this format keeps of a value.
    int64_t kept(int64_t value) const;
    bool holds(int64_t value) const { return kept(value) == value; }
};

/// "s12", or "u8.4" with a fraction.
std::string toString(const Format& format);

/// One instruction of a compiled formula: slot `target` gets what `operation` makes of three others.
struct Instruction {
    enum Operation {
        Add,
        Subtract,
        Multiply,
        ShiftLeft,
        And,
        Less,
        Equal,
        AtLeast,
        Select,
        Min,
        Max,
        Table,
        Copy,
        ShiftRight,  ///< a by b bits, rounded as c says
        Divide,      ///< a by b, rounded as c says
        Clamp        ///< a to b at least and c at most
    };
    Operation operation;
    int target;
    int a;
    int b;
    int c;
};

struct Formula {
    std::string text;
    std::vector<Instruction> code;
    int slot;  ///< of the result
};

struct Operand {
    std::string name;
    std::string about;
    Format format;
};

/// A register: what its formula gives, rounded, then clamped.
struct Quantity {
    std::string name;
    std::string about;
    Format format;
    Formula formula;
    std::optional<Rounding> rounding{};  ///< of the quotient by 2^shift, or by `divisor`
    std::optional<Formula> shift{};
    std::optional<Formula> divisor{};
    std::optional<std::pair<Formula, Formula>> clamp{};
    std::optional<Formula> unfolded{};           ///< what it would be if nothing was folded back at a border
    std::optional<std::pair<int, int>> every{};  ///< the values all of which matter: phases, cells
    bool isConstant = false;                     ///< of a table, so that no rounding happens at run time
};

/// What is wrong with one register of faulty hardware.
struct Fault {
    enum Kind {
        Narrow,     ///< one bit too few
        Rounds,     ///< rounds in another way: `rounding`
        NoLow,      ///< the clamp's lower bound is missing
        NoHigh,     ///< its upper bound is missing
        TightLow,   ///< its lower bound is too high by one
        TightHigh,  ///< its upper bound is too low by one
        StuckLow,   ///< the clamp always gives its lower bound
        Unfolded,   ///< a tap is not folded back
        Confused    ///< another of the values that matter: the lowest bit, counted from the first of them, is
                    ///< inverted
    };
    int quantity;
    Kind kind;
    Rounding rounding;
    Format kept;  ///< of Narrow: what is left of the register
};

/// A block of registers that follow from its operands. Values are in slots: operands, quantities in their
/// order, then constants and temporaries.
struct Unit {
    std::string name;
    std::string about;
    std::vector<Operand> operands;
    std::vector<Quantity> quantities;
    std::vector<Instruction> program;  ///< of all quantities
    std::optional<size_t> result;  ///< the slot of the only quantity that others use, if there is only one
    std::vector<int64_t> fresh;    ///< all slots, with the constants filled in, as evaluate() wants them

    /// Of an operand or a quantity, one of which has that name.
    int slot(const std::string& name) const;
    int slotOf(size_t quantity) const { return static_cast<int>(operands.size() + quantity); }

    /// Fills in all quantities from the operands.
    void evaluate(int64_t* values) const;

    /// Turns the values of good hardware into those of hardware with one fault.
    void damage(int64_t* values, const Fault& fault) const;
};

/// All units, as verification/arithmetic.json lists them.
const std::vector<Unit>& arithmetic();
const Unit& unitNamed(const std::string& name);

/// The list itself.
const char* arithmeticJson();

}  // namespace vantor::verification
