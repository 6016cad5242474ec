// The options of commands that work on clips.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "tools/vantor/clip/make_clips.h"

namespace vantor::tool {

/// Declares IN..., --output, what the files are, and how the frames are worked on.
void addClipOptions(CLI::App& command, MakeOptions& options);

/// Declares --jobs.
void addJobsOption(CLI::App& command, size_t& jobs, const std::string& use);

/// Declares --skip and --limit.
void addFrameRangeOptions(CLI::App& command, FrameRange& range);

}  // namespace vantor::tool
