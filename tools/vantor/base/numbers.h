// Numbers in options.
#pragma once

#include <string>
#include <vector>

namespace vantor::tool {

/// Finite numbers set off by commas: `minCount` to `maxCount` of them, or an error that names the option.
std::vector<double> parseNumbers(const std::string& option, const std::string& text, size_t minCount,
                                 size_t maxCount);

}  // namespace vantor::tool
