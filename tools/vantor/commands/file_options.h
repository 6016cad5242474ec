// The options that say what picture files are.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {

/// What the tool reads, for --help.
constexpr char kPictureFiles[] = ".png, .y4m, raw .nv12, .nv21, .i420, .gray, .yuv; - is a pipe";

/// The options that say what a raw input, and a raw result, is.
void addFileOptions(CLI::App& command, FileOptions& input);
void addFileOptions(CLI::App& command, FileOptions& input, FileOptions& output);
void addFileOptions(CLI::App& command, PairOptions& pair);

}  // namespace vantor::tool
