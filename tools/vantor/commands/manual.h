// The manual page.
#pragma once

#include <CLI/CLI.hpp>

namespace vantor::tool {

/// Writes the page to standard output, made of what --help says, and returns the exit status.
int printManual(const CLI::App& app);

}  // namespace vantor::tool
