// Pipes to and from other programs.
#pragma once

#include <fcntl.h>

namespace vantor::tool {

/// Lets a pipe hold as much as users may give it by default: frames then go through with few changes between
/// processes. Does nothing to what is no pipe.
inline void enlargePipe(int descriptor) {
    constexpr int kMaxByDefault = 1 << 20;
    fcntl(descriptor, F_SETPIPE_SZ, kMaxByDefault);
}

}  // namespace vantor::tool
