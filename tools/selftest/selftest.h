// Whether the library gives the published bytes on this machine. Needs nothing but the library, so that it
// runs on the device as well.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

namespace vantor::selftest {

struct Result {
    std::string name;
    uint32_t hash;  ///< 0 if the library refused the request
    uint32_t published;

    bool isSame() const { return hash == published; }
};

/// Computes one request after the other; calls `report` with each, and returns one over all.
Result compute(const std::function<void(const Result&)>& report);

/// A line on standard output.
void print(const Result& result);

}  // namespace vantor::selftest
