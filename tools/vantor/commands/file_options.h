// The options that describe picture files.
#pragma once

#include <CLI/CLI.hpp>

#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {

/// What the tool reads, for --help.
constexpr char kPictureFiles[] =
    ".png, .jpg, .y4m, raw .nv12, .nv21, .i420, .gray, .p010, .yuv; - is "
    "standard input";

/// The options that describe a raw input, and a raw result.
void addFileOptions(CLI::App& command, FileOptions& input);
void addFileOptions(CLI::App& command, FileOptions& input, FileOptions& output);
void addFileOptions(CLI::App& command, PairOptions& pair);

/// Declares --quality, of a JPEG that is written.
void addQualityOption(CLI::App& command, FileOptions& output);

}  // namespace vantor::tool
