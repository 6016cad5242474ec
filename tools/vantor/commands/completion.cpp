#include "tools/vantor/commands/completion.h"

#include <cstdio>
#include <sstream>

#include "tools/vantor/base/error.h"

namespace vantor::tool {
namespace {

constexpr const char* kWords = "words";

bool begins(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

/// A candidate with its description, if it begins as the word does.
void offer(const std::string& candidate, const std::string& description, const std::string& word) {
    if (begins(candidate, word)) std::printf("%s\t%s\n", candidate.c_str(), description.c_str());
}

/// The option of that name that takes a value; null if there is none.
CLI::Option* valued(CLI::App& command, const std::string& name) {
    CLI::Option* option = begins(name, "-") ? command.get_option_no_throw(name) : nullptr;
    return option != nullptr && option->get_items_expected_max() > 0 ? option : nullptr;
}

std::string wordsOf(CLI::Option& option) {
    try {
        return CLI::Validator(*option.get_validator(kWords)).active().get_description();
    } catch (const CLI::OptionNotFound&) {
        return {};
    }
}

void offerValues(CLI::Option& option, const std::string& before, const std::string& word) {
    std::istringstream words(wordsOf(option));
    for (std::string value; words >> value;) offer(before + value, option.get_name(), before + word);
}

void offerOptions(const CLI::App& command, const std::string& word) {
    for (const CLI::Option* option : command.get_options()) {
        if (option->get_group().empty()) continue;
        for (const std::string& name : option->get_snames())
            offer("-" + name, option->get_description(), word);
        for (const std::string& name : option->get_lnames())
            offer("--" + name, option->get_description(), word);
    }
}

std::vector<CLI::App*> subcommandsOf(CLI::App& command) {
    return command.get_subcommands([](const CLI::App*) { return true; });
}

/// The command of that name in a command; null if there is none.
CLI::App* subcommand(CLI::App& command, const std::string& name) {
    const auto found =
        command.get_subcommands([&](const CLI::App* inner) { return inner->get_name() == name; });
    return found.empty() ? nullptr : found.front();
}

}  // namespace

void offerWords(CLI::Option* option, const std::string& words) {
    option->check(
        CLI::Validator([](const std::string&) { return std::string(); }, words).name(kWords).active(false));
}

int printCompletions(CLI::App& app, const std::vector<std::string>& words) {
    CLI::App* command = &app;
    CLI::Option* option = nullptr;  // whose value comes next
    const std::string last = words.empty() ? "" : words.back();
    for (size_t i = 0; i + 1 < words.size(); ++i) {
        if (option != nullptr) {
            option = nullptr;
        } else if (CLI::App* inner = subcommand(*command, words[i])) {
            command = inner;
        } else {
            option = valued(*command, words[i]);
        }
    }
    if (option != nullptr) {
        offerValues(*option, "", last);
    } else if (const size_t sign = last.find('='); begins(last, "--") && sign != last.npos) {
        CLI::Option* given = valued(*command, last.substr(0, sign));
        if (given != nullptr) offerValues(*given, last.substr(0, sign + 1), last.substr(sign + 1));
    } else {
        const std::vector<CLI::App*> inner = subcommandsOf(*command);
        if (begins(last, "-") || !inner.empty()) offerOptions(*command, last);
        for (const CLI::App* next : inner) offer(next->get_name(), next->get_description(), last);
    }
    return kDone;
}

}  // namespace vantor::tool
