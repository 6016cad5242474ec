// The option that says which backend does the work.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>

#include "tools/vantor/library/request.h"

namespace vantor::tool {

class BackendOption {
public:
    /// Declares --backend, and --path, as it was once called.
    void addTo(CLI::App& command);

    /// What was chosen; a note tells users of --path the new name.
    Backend chosen() const;

private:
    std::optional<std::string> name_;
    std::optional<std::string> oldName_;  ///< of --path
};

}  // namespace vantor::tool
