// What geometry cannot do.
#pragma once

#include <stdexcept>

namespace vantor {

/// The message names what is invalid, and what was expected; the caller knows which option or file asked for
/// it.
class GeometryError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace vantor
