// The coefficients of interp4's luma filter.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

namespace vantor {

constexpr int kInterp4Phases = 32;
constexpr int kInterp4Taps = 4;

/// 32 phases of four weights in 1/4096.
using Interp4Filter = std::array<int16_t, kInterp4Taps * kInterp4Phases>;

/// The cubic convolution kernel (a = -1/2) at t = phase / 32, made integer so that each phase sums to 4096.
/// Phases beyond one half mirror those before it.
constexpr Interp4Filter makeInterp4Filter() {
    constexpr int16_t upToHalf[][4] = {
        {0, 4096, 0, 0},          {-60, 4086, 72, -2},      {-113, 4058, 159, -8},
        {-158, 4011, 259, -16},   {-196, 3948, 372, -28},   {-228, 3869, 497, -42},
        {-254, 3777, 632, -59},   {-273, 3670, 776, -77},   {-288, 3552, 928, -96},
        {-298, 3423, 1087, -116}, {-303, 3284, 1253, -138}, {-303, 3136, 1422, -159},
        {-300, 2980, 1596, -180}, {-293, 2818, 1772, -201}, {-284, 2651, 1950, -221},
        {-271, 2479, 2127, -239}, {-256, 2304, 2304, -256},
    };
    Interp4Filter filter{};
    for (unsigned phase = 0; phase < kInterp4Phases; ++phase) {
        const bool mirrored = phase > kInterp4Phases / 2;
        const auto& weights = upToHalf[mirrored ? kInterp4Phases - phase : phase];
        for (unsigned tap = 0; tap < 4; ++tap) filter[4 * phase + tap] = weights[mirrored ? 3 - tap : tap];
    }
    return filter;
}

/// Across: of four samples, in 1/16 level.
inline int16_t interp4Across(const uint8_t* samples, const int16_t* weights) {
    const int sum =
        weights[0] * samples[0] + weights[1] * samples[1] + weights[2] * samples[2] + weights[3] * samples[3];
    return static_cast<int16_t>(std::clamp((sum + 128) >> 8, INT16_MIN, INT16_MAX));
}

/// As arbitrary weights may overflow 32 bits.
inline uint32_t wrappedSum(uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    return a + b + c + d;
}

/// Down: of four rows.
inline uint8_t interp4Down(int row0, int row1, int row2, int row3, const int16_t* weights) {
    const auto product = [](int weight, int row) { return static_cast<uint32_t>(weight * row); };
    const auto sum = static_cast<int32_t>(wrappedSum(product(weights[0], row0), product(weights[1], row1),
                                                     product(weights[2], row2), product(weights[3], row3)));
    return static_cast<uint8_t>(std::clamp((sum >> 16) + ((sum >> 15) & 1), 0, 255));
}

/// Whether each row of `coefficients` can be taken apart into two bytes per weight: (w + 32) >> 6 sums to 126
/// or less in magnitude, as it does for filters that amplify by less than two.
bool fitBytes(const int16_t* coefficients);

}  // namespace vantor
