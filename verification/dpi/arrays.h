// Arrays that a simulator hands over. Their layout is the simulator's business: what is not certainly plain
// memory of the expected elements is refused.
#pragma once

#include <svdpi.h>

#include <cstddef>
#include <cstdint>

namespace vantor::dpi {

/// Throws a Failure that names the array where it is not `count` elements of `elementBytes` bytes, one after
/// the other.
void* checkedArray(const char* name, svOpenArrayHandle array, size_t elementBytes, size_t count);

inline uint8_t* bytes(const char* name, svOpenArrayHandle array, size_t count) {
    return static_cast<uint8_t*>(checkedArray(name, array, 1, count));
}

inline const int32_t* ints(const char* name, svOpenArrayHandle array, size_t count) {
    return static_cast<const int32_t*>(checkedArray(name, array, sizeof(int32_t), count));
}

}  // namespace vantor::dpi
