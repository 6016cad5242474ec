// What the registers of the list have to hold.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/size.h"
#include "verification/arithmetic.h"

namespace vantor::verification {

/// The domain of requests. Nodes of grids are from -node to node - 1.
struct Limits {
    Size scaled{16384, 16384};  ///< the largest picture
    Size warped{8192, 6144};
    int32_t node = 1 << 23;

    /// "1920x1080", "1920x1080,65536" with the nodes' limit. Throws std::runtime_error for anything else.
    static Limits parse(const std::string& text);
};

enum class Direction { Across, Down, Both };

/// Where a unit is used.
struct Use {
    Direction direction = Direction::Both;
    bool isChroma = false;
};

/// Of one register, over all operands within the limits. No value is outside `low` to `high`; `least` and
/// `most` occur.
struct Range {
    int64_t low;
    int64_t high;
    int64_t least;
    int64_t most;

    /// The narrowest register that holds all of `low` to `high`, and all of `least` to `most`.
    Format bound() const;
    Format witness() const;
    bool isDecided() const { return bound().bits == witness().bits; }
};

/// Whether there are frames with positions half way between two positions of the virtual frame.
bool hasTies(const Limits& limits, Direction direction);

/// Whether the ranges of a unit's quantities do.
bool dependsOnLimits(const Unit& unit);

/// Of every quantity of a unit, in the list's order.
std::vector<Range> rangesOf(const Unit& unit, const Limits& limits, const Use& use = {});

}  // namespace vantor::verification
