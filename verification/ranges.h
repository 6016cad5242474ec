// What the registers of the list have to hold.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/size.h"
#include "verification/arithmetic.h"

namespace vantor::verification {

/// The domain of requests.
struct Limits {
    Size largest{16384, 16384};  ///< of pictures that are scaled
    Size largestWarp{8192, 6144};
    int32_t node = 1 << 23;  ///< largest magnitude of a grid's nodes
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

/// Of every quantity of a unit, in the list's order.
std::vector<Range> rangesOf(const Unit& unit, const Limits& limits);

}  // namespace vantor::verification
