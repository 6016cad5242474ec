// Pseudo-random numbers that are the same everywhere.
#pragma once

#include <cstdint>

namespace vantor {

/// The number after x: 1664525 x + 1013904223 mod 2^32. The top bits are the random ones.
constexpr uint32_t generatorStep(uint32_t x) {
    return static_cast<uint32_t>(x * uint64_t{1664525} + 1013904223);
}

}  // namespace vantor
