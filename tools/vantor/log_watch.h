// The error lines that the library and the service logged, which say why a request failed.
#pragma once

#include <string>

namespace vantor::tool {

/// Empty if there was none.
std::string lastErrorLine();

/// The error line before the last one that contains `text`.
std::string errorLineBefore(const std::string& text);

}  // namespace vantor::tool
