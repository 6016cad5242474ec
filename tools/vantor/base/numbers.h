// Numbers in options.
#pragma once

#include <string>
#include <vector>

namespace vantor::tool {

/// `minCount` to `maxCount` finite comma-separated numbers, or an error that names the option.
std::vector<double> parseNumbers(const std::string& option, const std::string& text, size_t minCount,
                                 size_t maxCount);

}  // namespace vantor::tool
