// The options that say which backend does the work.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/vantor/library/request.h"

namespace vantor::tool {

/// Declares --service.
void addServiceOption(CLI::App& command);

class BackendOption {
public:
    /// Declares --backend, --path, as it was once called, and --service, which implies --backend hardware.
    void addTo(CLI::App& command);

    /// What was chosen; a note tells users of --path the new name.
    Backend chosen() const;

private:
    std::optional<std::string> name_;
    std::optional<std::string> oldName_;  ///< of --path
};

}  // namespace vantor::tool
