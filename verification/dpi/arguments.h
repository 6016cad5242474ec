// What the functions' arguments and results have in common.
#pragma once

#include "bindings/c/failure.h"

namespace vantor::dpi {

/// Throws a Failure that names the argument, its value and the limits, both included.
inline void checkRange(const char* name, int value, int first, int last) {
    if (value < first || value > last) throw c::invalid("%s %d, expected %d to %d", name, value, first, last);
}

/// The value that `compute` returns, or the status of what it throws.
template <typename Compute>
int valueOf(Compute&& compute) noexcept {
    int value = 0;
    const int status = c::guarded(nullptr, [&] { value = compute(); });
    return status < 0 ? status : value;
}

}  // namespace vantor::dpi
