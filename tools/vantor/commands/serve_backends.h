// The options of vantor serve that say what computes, and with which faults.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "service/backend.h"
#include "service/faults.h"

namespace vantor::tool {

struct BackendOptions {
    std::string backend = "model";
    std::string options;  ///< for a shared object's open()
    std::string answer;   ///< what computes for a trace or a faulty one; empty: the model
    std::string record;
    std::string command;
    std::optional<double> timeout;  ///< of the command, in seconds
    std::string script;
    std::vector<std::string> faults;
};

struct SeatedBackend {
    BackendMaker make;
    std::string name;                       ///< as clients are told
    int engines;                            ///< by default
    std::shared_ptr<FaultScript> faults{};  ///< null: none
};

void addBackendOptions(CLI::App& command, BackendOptions& options);

/// Throws a UserError where options do not go together, or name what cannot be had.
SeatedBackend seat(const BackendOptions& options);

}  // namespace vantor::tool
