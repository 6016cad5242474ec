// The statuses of all operations.
#pragma once

#include <cstdint>

namespace hardware {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = -38;  // -ENOSYS, the one error code

}  // namespace hardware
