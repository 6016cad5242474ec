// How long a call takes.
#pragma once

#include <chrono>

namespace vantor::tool {

/// In milliseconds.
template <typename Call>
double timed(Call&& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace vantor::tool
