// The platform's status codes, as far as they are used here.
#pragma once

#include <cerrno>
#include <cstdint>

namespace android {

using status_t = int32_t;

enum : status_t {
    OK = 0,
    NO_ERROR = OK,
    UNKNOWN_ERROR = INT32_MIN,
    NO_MEMORY = -ENOMEM,
    INVALID_OPERATION = -ENOSYS,
    BAD_VALUE = -EINVAL,
    NAME_NOT_FOUND = -ENOENT,
    PERMISSION_DENIED = -EPERM,
    NO_INIT = -ENODEV,
    ALREADY_EXISTS = -EEXIST,
    DEAD_OBJECT = -EPIPE,
    FAILED_TRANSACTION = UNKNOWN_ERROR + 2,
};

}  // namespace android
