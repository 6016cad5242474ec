// The error lines that the library and the service logged, which tell why a request failed.
#pragma once

#include <string>

namespace vantor::tool {

/// Forgets the lines so far.
void clearErrorLines();

/// The first error line since then, which is the cause of those after it; empty if there was none.
std::string firstErrorLine();

/// Whether a line since then contains `text`.
bool hasErrorLine(const std::string& text);

}  // namespace vantor::tool
