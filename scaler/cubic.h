// The bicubic luma filter, for one sample.
#pragma once

#include <cstdint>

namespace vantor {

/// The cubic convolution kernel (a = -1/2) in Horner form between p1 and p2, at t in 1/32, clamped to 0..255.
/// The products of t are truncated by 5, 5 and 6 bits; nothing is rounded. For phases to 31 no intermediate
/// exceeds 31,620 in magnitude, so 16-bit lanes give the same result.
inline uint8_t cubic(int p0, int p1, int p2, int p3, int t) {
    const int third = (t * (3 * (p1 - p2) + p3 - p0)) >> 5;
    const int second = (t * (2 * p0 - 5 * p1 + 4 * p2 - p3 + third)) >> 5;
    const int value = p1 + ((t * (p2 - p0 + second)) >> 6);
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

}  // namespace vantor
