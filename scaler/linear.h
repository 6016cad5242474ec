// One direction of the bilinear chroma filters, for one sample.
#pragma once

#include <cstdint>

namespace vantor {

/// Between a and b at t / 2^Bits of the way; `Bias` is added before the shift that drops the fraction.
template <int Bits, int Bias>
inline uint8_t linear(int a, int b, int t) {
    return static_cast<uint8_t>((((1 << Bits) - t) * a + t * b + Bias) >> Bits);
}

}  // namespace vantor
