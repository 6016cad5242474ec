// Working memory.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

namespace vantor {

/// Values of 0. Aborts where there is no memory: no exception may leave the exported functions, and those
/// that return nothing cannot report an error.
template <typename Value>
std::vector<Value> zeroed(std::size_t count) noexcept {
    return std::vector<Value>(count);
}

/// Values of 0; null where there is no memory.
template <typename Value>
std::unique_ptr<Value[]> zeroedIfPossible(std::size_t count) noexcept {
    return std::unique_ptr<Value[]>(new (std::nothrow) Value[count]());
}

}  // namespace vantor
