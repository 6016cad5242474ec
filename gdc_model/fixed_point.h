// Rounding, wrapping and clamping as the engine does them. Everything in the model goes through these.
#pragma once

#include <algorithm>
#include <cstdint>

namespace vantor {

/// value / 2^shift to nearest, ties towards plus infinity. The sum with one half wraps at 64 bits. Shifts of
/// 0 and less change nothing; of 64 and more, every value rounds to 0.
constexpr int64_t hwround(int64_t value, int shift) {
    if (shift <= 0) return value;
    if (shift > 63) return 0;
    return static_cast<int64_t>(static_cast<uint64_t>(value) + (uint64_t{1} << (shift - 1))) >> shift;
}

/// The low 32 bits, in two's complement.
constexpr int32_t narrow(int64_t value) {
    return static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(value)));
}

/// 32-bit sums and products that wrap.
constexpr int32_t wrapAdd(int32_t a, int32_t b) {
    return narrow(int64_t{a} + b);
}
constexpr int32_t wrapSub(int32_t a, int32_t b) {
    return narrow(int64_t{a} - b);
}
constexpr int32_t wrapMul(int32_t a, int32_t b) {
    return narrow(int64_t{a} * b);
}

/// 2^exponent as a 32-bit pattern; 0 where the bit lies outside.
constexpr int32_t powerOfTwo(int exponent) {
    return exponent < 0 || exponent > 31 ? 0 : narrow(int64_t{1} << exponent);
}

/// a / b towards zero; by 0 it is 0, as ARM's division instruction gives.
constexpr int32_t divide(int32_t a, int32_t b) {
    return b == 0 ? 0 : narrow(int64_t{a} / b);
}

/// The range of displacements inside the engine: 23 bits, signed.
constexpr int32_t clampDisplacement(int32_t value) {
    return std::clamp(value, -4194304, 4194303);
}

/// Conversion to int32 towards zero; saturates beyond its range; NaN gives 0.
inline int32_t saturateToInt(double value) {
    if (!(value == value)) return 0;
    return static_cast<int32_t>(std::clamp(value, -2147483648.0, 2147483647.0));
}

}  // namespace vantor
