#include "tools/vantor/commands/manual.h"

#include <sstream>
#include <string>
#include <vector>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {
namespace {

/// Text as the formatter takes it: no control lines, and hyphens that can be copied.
std::string escaped(const std::string& text) {
    std::string result;
    for (char c : text) {
        if (c == '\\') {
            result += "\\e";
        } else if (c == '-') {
            result += "\\-";
        } else {
            result += c;
        }
    }
    const bool isControl = !text.empty() && (text[0] == '.' || text[0] == '\'');
    return (isControl ? "\\&" : "") + result;
}

void printLines(const std::string& text) {
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) printLine("%s", line.c_str());
}

std::vector<const CLI::App*> subcommands(const CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// Footers are lines; those that begin with spaces are shown as they are, and "Examples:" is a heading.
void printFooter(const std::string& footer) {
    std::istringstream lines(footer);
    bool isLiteral = false;
    for (std::string line; std::getline(lines, line);) {
        const bool isIndented = line.rfind("  ", 0) == 0;
        if (isIndented != isLiteral) printLines(isIndented ? ".PP\n.EX" : ".EE\n.PP");
        isLiteral = isIndented;
        printLines(line.empty() ? ".PP" : escaped(line));
    }
    if (isLiteral) printLines(".EE");
}

bool isForHelp(const CLI::Option& option) {
    return option.check_name("--help");
}

std::string nameOf(const CLI::Option& option) {
    if (option.get_positional()) return option.get_name(true);
    const std::string value = option.get_type_name();
    return option.get_name(false, true) + (value.empty() ? "" : " " + value);
}

void printOptions(const CLI::App& command) {
    for (const CLI::Option* option : command.get_options()) {
        if (isForHelp(*option) || option->get_group().empty()) continue;
        printLines(".TP\n.B " + escaped(nameOf(*option)));
        const std::string value = option->get_default_str();
        printLines(escaped(option->get_description() + (value.empty() ? "" : " (" + value + ")")));
    }
}

void printCommand(const CLI::App& command) {
    printLines(".SS vantor " + command.get_name());
    printLines(escaped(command.get_description()) + ".");
    printOptions(command);
    for (const CLI::App* inner : subcommands(command)) {
        printLines(".TP\n.B " + escaped(inner->get_name()) + " ...");
        printLines("As vantor " + escaped(inner->get_name()) + ", with the same options.");
    }
    printLines(".PP");
    printFooter(command.get_footer());
}

}  // namespace

int printManual(const CLI::App& app) {
    printLines(".\\\" Made by vantor --manual.");
    printLines(".TH VANTOR 1\n.SH NAME\nvantor \\- scale, warp and compare pictures and clips");
    printLines(".SH SYNOPSIS\n.B vantor\n.I SUBCOMMAND\n.RI [ OPTIONS ]");
    printLines(".SH DESCRIPTION");
    printLines(escaped(app.get_description()));
    printLines("Options and arguments may come in any order.");
    printOptions(app);
    printLines(".PP");
    printFooter(app.get_footer());
    printLines(".SH SUB\\-COMMANDS");
    for (const CLI::App* command : subcommands(app)) printCommand(*command);
    return kDone;
}

}  // namespace vantor::tool
