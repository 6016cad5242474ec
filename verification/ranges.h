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
    int reduction = kMaxRatio;    ///< how many times smaller a side of a scaled picture may become
    int enlargement = kMaxRatio;  ///< how many times larger

    static constexpr int kMaxRatio = 4096;

    /// "1920x1080", "1920x1080,65536" with the nodes' limit, and "1920x1080,reduce=4,enlarge=2" with those of
    /// the ratios. Throws std::runtime_error for anything else.
    static Limits parse(const std::string& text);

    /// Whether the ratios let a side of a picture be scaled so.
    bool takes(int source, int target) const;

    /// The longest side up to `longest` that the largest ratio divides into an even number of samples: no
    /// step is longer than there.
    int longestReduced(int longest) const;

    /// The shortest even side that a side may become.
    int shortestTarget(int source) const;
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
