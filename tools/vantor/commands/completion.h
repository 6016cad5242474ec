// What shells complete command lines with.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace vantor::tool {

/// Gives an option the words, separated by spaces, that can be its value; others are file names or numbers.
void offerWords(CLI::Option* option, const std::string& words);

/// Prints what the last of these words of a command line, which may be empty, can become: a line each, with a
/// tab and its description. Nothing where file names or values of one's own are expected.
int printCompletions(CLI::App& app, const std::vector<std::string>& words);

}  // namespace vantor::tool
