// The options of vantor serve that say what computes, and with which faults.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>
#include <vector>

#include "service/backend.h"
#include "service/faults.h"

namespace vantor::tool {

struct BackendOptions {
    std::string name = "model";
    std::string options;  ///< for a shared object's open()
    std::string answer = "model";
    std::string record;
    std::string command;
    double timeout = 30;  ///< of the command, in seconds
    std::string script;
    std::vector<std::string> faults;
};

/// What serves.
struct ServedBackend {
    std::string name;  ///< for clients
    BackendMaker make;
    std::shared_ptr<FaultScript> faults;  ///< null: none
};

void addBackendOptions(CLI::App& command, BackendOptions& options);

/// Throws a UserError where options do not go together, or name what cannot be had.
ServedBackend backendFrom(const BackendOptions& options);

}  // namespace vantor::tool
