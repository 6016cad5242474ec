// Numbers in options.
#pragma once

#include <string>
#include <vector>

namespace vantor::tool {

/// Finite numbers set off by commas: `least` to `most` of them, or an error that names the option.
std::vector<double> parseNumbers(const std::string& option, const std::string& text, size_t least,
                                 size_t most);

}  // namespace vantor::tool
