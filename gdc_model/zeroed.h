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

/// Bytes, or samples, of a 4:2:0 picture, three planes or two; 0 for sizes that are none.
inline std::size_t pictureSamples(int width, int height) {
    return width < 1 || height < 1
               ? 0
               : static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 3 / 2;
}

}  // namespace vantor
