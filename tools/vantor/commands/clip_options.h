// The options of commands that work on clips.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vantor/clip/clip.h"

namespace vantor::tool {

/// Declares IN, --output, what the files are, and how the frames are worked on.
void addClipOptions(CLI::App& command, ClipOptions& options);

/// Declares --skip and --limit.
void addFrameRangeOptions(CLI::App& command, FrameRange& range);

}  // namespace vantor::tool
