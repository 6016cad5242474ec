// Working memory.
#pragma once

#include <cstddef>
#include <vector>

namespace vantor {

/// Values of 0. Ends the process where there is no memory: nothing leaves the exported functions by an
/// exception.
template <typename Value>
std::vector<Value> zeroed(std::size_t count) noexcept {
    return std::vector<Value>(count);
}

}  // namespace vantor
