#include "verification/formula.h"

#include <cctype>
#include <stdexcept>

namespace vantor::verification {

/// By recursive descent, one function per level of precedence.
struct FormulaCompiler::Parser {
    FormulaCompiler& compiler;
    const std::string& text;
    std::vector<Instruction>& code;
    size_t at = 0;

    int whole() {
        const int slot = condition();
        if (at != text.size()) fail();
        return slot;
    }

private:
    using Level = int (Parser::*)();
    struct Binary {
        const char* symbol;
        Instruction::Operation operation;
    };

    int condition() {
        return leftToRight(
            &Parser::masked,
            {{"<", Instruction::Less}, {"==", Instruction::Equal}, {">=", Instruction::AtLeast}});
    }
    int masked() { return leftToRight(&Parser::shifted, {{"&", Instruction::And}}); }
    int shifted() { return leftToRight(&Parser::sum, {{"<<", Instruction::ShiftLeft}}); }
    int sum() {
        return leftToRight(&Parser::product, {{"+", Instruction::Add}, {"-", Instruction::Subtract}});
    }
    int product() { return leftToRight(&Parser::primary, {{"*", Instruction::Multiply}}); }

    int leftToRight(Level operand, std::initializer_list<Binary> binaries) {
        int slot = (this->*operand)();
        for (bool found = true; found;) {
            found = false;
            for (const Binary& binary : binaries) {
                if (!accept(binary.symbol)) continue;
                slot = emit(binary.operation, slot, (this->*operand)());
                found = true;
                break;
            }
        }
        return slot;
    }

    int primary() {
        skipSpace();
        if (accept("(")) {
            const int slot = condition();
            expect(")");
            return slot;
        }
        const size_t start = at;
        if (accept("-") || isDigit()) {
            while (isDigit()) ++at;
            return compiler.constant(std::stoll(text.substr(start, at - start)));
        }
        while (isDigit() || (at < text.size() && (std::isalpha(text[at]) || text[at] == '_'))) ++at;
        const std::string name = text.substr(start, at - start);
        if (accept("(")) return call(name);
        const auto found = compiler.names_.find(name);
        if (found == compiler.names_.end()) fail();
        return found->second;
    }

    int call(const std::string& name) {
        std::vector<int> arguments;
        do arguments.push_back(condition());
        while (accept(","));
        expect(")");
        if (name == "select" && arguments.size() == 3) {
            return emit(Instruction::Select, arguments[0], arguments[1], arguments[2]);
        }
        if (name == "interp4" && arguments.size() == 2) {
            return emit(Instruction::Table, arguments[0], arguments[1]);
        }
        if (name != "min" && name != "max") fail();
        int slot = arguments[0];
        for (size_t i = 1; i < arguments.size(); ++i) {
            slot = emit(name == "min" ? Instruction::Min : Instruction::Max, slot, arguments[i]);
        }
        return slot;
    }

    int emit(Instruction::Operation operation, int a, int b, int c = 0) {
        const int target = static_cast<int>(compiler.slots_.size());
        compiler.slots_.push_back(0);
        code.push_back({operation, target, a, b, c});
        return target;
    }

    bool isDigit() const { return at < text.size() && std::isdigit(text[at]); }

    void skipSpace() {
        while (at < text.size() && text[at] == ' ') ++at;
    }

    bool accept(const char* symbol) {
        skipSpace();
        const std::string wanted(symbol);
        if (text.compare(at, wanted.size(), wanted) != 0) return false;
        at += wanted.size();
        skipSpace();
        return true;
    }

    void expect(const char* symbol) {
        if (!accept(symbol)) fail();
    }

    [[noreturn]] void fail() const {
        throw std::runtime_error("formula \"" + text + "\" at " + std::to_string(at));
    }
};

FormulaCompiler::FormulaCompiler(const std::vector<std::string>& names) {
    for (const std::string& name : names) {
        names_.emplace(name, static_cast<int>(slots_.size()));
        slots_.push_back(0);
    }
}

Formula FormulaCompiler::compile(const std::string& text) {
    Formula formula{text, {}, 0};
    formula.slot = Parser{*this, formula.text, formula.code}.whole();
    return formula;
}

int FormulaCompiler::constant(int64_t value) {
    const auto [found, isNew] = constants_.emplace(value, static_cast<int>(slots_.size()));
    if (isNew) slots_.push_back(value);
    return found->second;
}

}  // namespace vantor::verification
