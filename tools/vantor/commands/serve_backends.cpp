#include "tools/vantor/commands/serve_backends.h"

#include "service/model_backend.h"
#include "tools/vantor/base/error.h"

namespace vantor::tool {

void addBackendOptions(CLI::App& command, BackendOptions& options) {
    command.add_option("--backend", options.backend, "What computes: model (default)")->type_name("BACKEND");
}

SeatedBackend seat(const BackendOptions& options) {
    if (options.backend == "model") return {[] { return std::make_unique<ModelBackend>(); }, "model", 4};
    throw UserError("--backend " + options.backend + ": expected model");
}

}  // namespace vantor::tool
