// Which frames of a clip are worked on.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>

namespace vantor::tool {

struct FrameRange {
    uintmax_t skip = 0;
    std::optional<uintmax_t> limit;
};

/// Declares --skip and --limit.
void addFrameRangeOptions(CLI::App& command, FrameRange& range);

}  // namespace vantor::tool
