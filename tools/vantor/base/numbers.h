// Numbers in options.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vantor::tool {

/// `minCount` to `maxCount` finite comma-separated numbers, or an error that names the option.
std::vector<double> parseNumbers(const std::string& option, const std::string& text, size_t minCount,
                                 size_t maxCount);

/// An affine matrix in the engine's fixed-point units: six numbers that 16-bit integers hold.
std::array<int16_t, 6> parseMatrix(const std::string& option, const std::string& text);

/// K1[,K2[,K3[,P1,P2]]]; those that are left out are 0.
std::array<double, 5> parseLens(const std::string& option, const std::string& text);

}  // namespace vantor::tool
