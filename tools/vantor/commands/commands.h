// The sub-commands, one file each. Each `add` function declares its sub-command's options and sets `run`,
// which returns the exit status, if the user asked for it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <string>
#include <vector>

#include "tools/vantor/library/request.h"

namespace vantor::tool {

using Run = std::function<int()>;

/// What watches has these two work on one frame.
void addScale(CLI::App& app, Run& run, const RequestWatch& watch = {});
void addWarp(CLI::App& app, Run& run, const RequestWatch& watch = {});
void addGrid(CLI::App& app, Run& run);
void addExplain(CLI::App& app, Run& run);
void addTrace(CLI::App& app, Run& run);
void addCoverage(CLI::App& app, Run& run);
void addStimulus(CLI::App& app, Run& run);
void addCrosscheck(CLI::App& app, Run& run);
void addCompare(CLI::App& app, Run& run);
void addView(CLI::App& app, Run& run);
void addLive(CLI::App& app, Run& run);
void addChart(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);
void addRecord(CLI::App& app, Run& run, const std::vector<std::string>& arguments);
void addReplay(CLI::App& app, Run& run);
void addSelftest(CLI::App& app, Run& run);
void addServe(CLI::App& app, Run& run);

}  // namespace vantor::tool
