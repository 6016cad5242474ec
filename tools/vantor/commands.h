// The sub-commands, one file each. Each `add` function declares its sub-command's options and sets `run`,
// which returns the exit status, if the user asked for it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

namespace vantor::tool {

using Run = std::function<int()>;

void addScale(CLI::App& app, Run& run);
void addCompare(CLI::App& app, Run& run);
void addChart(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);

}  // namespace vantor::tool
