// Which frames of a clip are worked on.
#pragma once

#include <cstdint>
#include <optional>

namespace vantor::tool {

struct FrameRange {
    uintmax_t skip = 0;
    std::optional<uintmax_t> limit;
};

}  // namespace vantor::tool
