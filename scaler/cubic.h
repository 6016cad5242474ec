// The bicubic luma filter, for one sample.
#pragma once

#include <cstdint>

namespace vantor {

/// The cubic convolution kernel (a = -1/2) in Horner form between p1 and p2, at t in 1/32, clamped to 0..255,
/// with all its intermediate values. The products of t are truncated by 5, 5 and 6 bits; nothing is rounded.
/// For phases to 31 no intermediate exceeds 31,620 in magnitude, so 16-bit lanes give the same result.
struct Cubic {
    int third;
    int second;
    int sum;  ///< before it is clamped
    uint8_t value;

    Cubic(int p0, int p1, int p2, int p3, int t)
        : third((t * (3 * (p1 - p2) + p3 - p0)) >> 5),
          second((t * (2 * p0 - 5 * p1 + 4 * p2 - p3 + third)) >> 5),
          sum(p1 + ((t * (p2 - p0 + second)) >> 6)),
          value(static_cast<uint8_t>(sum < 0     ? 0
                                     : sum > 255 ? 255
                                                 : sum)) {}
};

inline uint8_t cubic(int p0, int p1, int p2, int p3, int t) {
    return Cubic(p0, p1, p2, p3, t).value;
}

}  // namespace vantor
