// Pipes to and from other programs.
#pragma once

#include <fcntl.h>

namespace vantor::tool {

/// Enlarges a pipe's buffer to the default limit for users, so that frames pass with few context switches.
/// Leaves anything but a pipe alone.
inline void enlargePipe(int descriptor) {
    constexpr int kMaxByDefault = 1 << 20;
    fcntl(descriptor, F_SETPIPE_SZ, kMaxByDefault);
}

}  // namespace vantor::tool
