// Stimulus in a directory: pictures, grids, expected results, and a manifest that names them.
#pragma once

#include <string>

#include "verification/stimulus.h"

namespace vantor::tool {

/// For --help.
constexpr char kLimitsHelp[] =
    "What the hardware takes: the largest size, the largest magnitude of a node, and by how much a side may "
    "become shorter or longer; default 16384x16384,8388608,reduce=4096,enlarge=4096";
constexpr char kLimitsType[] = "WxH[,NODE][,reduce=N][,enlarge=N]";

/// Those of --limits, or the default for an empty text.
verification::Limits limitsFrom(const std::string& text);

/// Writes all files, the manifest last. The results are the C library's.
void writeStimulus(const std::string& directory, const verification::Stimulus& stimulus, uint32_t seed,
                   const std::string& limits);

/// Whether a path is a directory with a manifest.
bool isStimulus(const std::string& path);

/// All requests of a directory.
void coverStimulus(verification::Coverage& coverage, const std::string& directory);

}  // namespace vantor::tool
