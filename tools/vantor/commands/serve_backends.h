// The options that say which back end vantor serve seats.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "service/backend.h"

namespace vantor::tool {

struct BackendOptions {
    std::string backend = "model";
};

void addBackendOptions(CLI::App& command, BackendOptions& options);

struct SeatedBackend {
    BackendMaker make;
    std::string name;  ///< as clients are told
    int engines;       ///< by default
};

/// Throws a UserError where the options do not go together.
SeatedBackend seat(const BackendOptions& options);

}  // namespace vantor::tool
