// Formulas of the list, compiled.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "verification/arithmetic.h"

namespace vantor::verification {

/// Compiles the formulas of one unit, whose slots it hands out.
class FormulaCompiler {
public:
    /// Names of operands and quantities have the first slots.
    explicit FormulaCompiler(const std::vector<std::string>& names);

    /// Sums, differences, products, << and & of names, whole numbers and calls: min, max, select(condition,
    /// a, b), where conditions are <, == and >=, and interp4(phase, tap). Throws std::runtime_error for
    /// anything else.
    Formula compile(const std::string& text);

    /// All slots with the constants.
    const std::vector<int64_t>& slots() const { return slots_; }

private:
    struct Parser;
    int constant(int64_t value);

    std::map<std::string, int> names_;
    std::map<int64_t, int> constants_;
    std::vector<int64_t> slots_;
};

}  // namespace vantor::verification
