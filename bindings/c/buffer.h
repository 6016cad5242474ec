// Bytes that callers get in memory of theirs.
#pragma once

#include <cstring>
#include <string_view>

#include "bindings/c/failure.h"

namespace vantor::c {

/// Stores the size of `bytes`, and, where there is a buffer, the bytes in it.
inline void deliver(std::string_view bytes, const char* name, void* buffer, size_t size, size_t* needed) {
    checkPointer("needed", needed);
    *needed = bytes.size();
    if (!buffer) return;
    if (size < bytes.size()) throw invalid("%s: size %zu, expected at least %zu", name, size, bytes.size());
    std::memcpy(buffer, bytes.data(), bytes.size());
}

}  // namespace vantor::c
