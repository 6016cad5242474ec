// The statuses of all operations.
#pragma once

#include <cstdint>

namespace hardware {

constexpr int32_t kSuccess = 0;
constexpr int32_t kFailure = -38;  // -ENOSYS, the error code
constexpr int32_t kNoHandle = -1;  // a handle for the service could not be created

}  // namespace hardware
