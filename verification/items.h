// The items of coverage that follow from the list of the arithmetic.
#pragma once

#include <string>
#include <vector>

#include "verification/path.h"

namespace vantor::verification {

/// One register of one stage of a path, at operands where one fault makes a difference to it.
struct Item {
    enum Sign { Any, Positive, Negative };

    std::string name;
    std::string reason;
    size_t stage;
    Fault fault;
    Sign sign;          ///< of the numerator that is rounded
    int value;          ///< of Confused: which of the values
    std::string proof;  ///< why it cannot be reached or seen, or empty

    /// Whether an instance of the stage has such operands.
    bool isReached(const Quantity& quantity, const int64_t* values, int slot) const;
};

/// Of all stages of a path, for requests within the limits.
std::vector<Item> itemsOf(const Path& path, const Limits& limits);

}  // namespace vantor::verification
