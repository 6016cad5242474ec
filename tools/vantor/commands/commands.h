// The sub-commands, one file each. Each `add` function declares its sub-command's options and sets `run`,
// which returns the exit status, if the user asked for it.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>

#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {

using Run = std::function<int()>;

/// What the tool reads, for --help.
constexpr char kPictureFiles[] = ".png, .y4m, raw .nv12, .nv21, .i420, .gray, .yuv; - is a pipe";

/// What watches has these two work on one frame.
void addScale(CLI::App& app, Run& run, const RequestWatch& watch = {});
void addWarp(CLI::App& app, Run& run, const RequestWatch& watch = {});
void addGrid(CLI::App& app, Run& run);
void addExplain(CLI::App& app, Run& run);
void addCrosscheck(CLI::App& app, Run& run);
void addCompare(CLI::App& app, Run& run);
void addView(CLI::App& app, Run& run);
void addChart(CLI::App& app, Run& run);
void addInfo(CLI::App& app, Run& run);
void addRecord(CLI::App& app, Run& run, const std::vector<std::string>& arguments);
void addReplay(CLI::App& app, Run& run);
void addSelftest(CLI::App& app, Run& run);

/// The options that say what a raw input, and a raw result, is.
void addFormOptions(CLI::App& command, FormOptions& input);
void addFormOptions(CLI::App& command, FormOptions& input, FormOptions& output);
void addFormOptions(CLI::App& command, PairOptions& pair);

}  // namespace vantor::tool
