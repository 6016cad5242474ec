// The C functions by which a program serves with a back end of its own.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <exception>
#include <memory>
#include <string>

#include "service/model_backend.h"
#include "service/server.h"
#include "service/table_backend.h"
#include "vantor/vantor_backend.h"

struct vantor_server {
    vantor_server(const std::string& path, vantor::ServerOptions options)
        : socket(path, options.isForGroup), server(socket, std::move(options)) {}

    vantor::ListeningSocket socket;
    vantor::Server server;
};

namespace vantor {
namespace {

/// The options of a caller that was compiled with these, fewer or more of them.
vantor_server_options completed(const vantor_server_options* given) {
    vantor_server_options options{};
    if (given) std::memcpy(&options, given, std::min<size_t>(given->size, sizeof options));
    return options;
}

std::unique_ptr<vantor_server> newServer(const vantor_backend_table* backend,
                                         const vantor_server_options& given) {
    if (given.engines < 0 || given.engines > Server::kMaxEngines) {
        throw Refusal{"engines: " + std::to_string(given.engines) + ", expected 0 to " +
                      std::to_string(Server::kMaxEngines)};
    }
    ServerOptions options;
    options.engines = std::max(given.engines, 1);
    options.isForGroup = given.allow_group != 0;
    options.backendName = backend ? "a program's back end" : "model";
    if (backend) {
        options.backend =
            tableBackends("back end", *backend, given.backend_options ? given.backend_options : "");
    } else {
        options.backend = [] { return std::make_unique<ModelBackend>(); };
    }
    const std::string path = given.socket ? given.socket : defaultSocketPath();
    return std::make_unique<vantor_server>(path, std::move(options));
}

/// Calls `work`, which returns what is asked for; where it throws, `fail` gets the reason.
template <typename Work, typename Fail>
auto guarded(Work&& work, Fail&& fail) noexcept {
    try {
        return work();
    } catch (const Refusal& refusal) {
        return fail(refusal.text.c_str());
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}

}  // namespace
}  // namespace vantor

vantor_server* vantor_server_new(const vantor_backend_table* backend, const vantor_server_options* options,
                                 char* message, size_t size) {
    return vantor::guarded([&] { return vantor::newServer(backend, vantor::completed(options)).release(); },
                           [&](const char* why) -> vantor_server* {
                               if (message && size > 0) std::snprintf(message, size, "%s", why);
                               return nullptr;
                           });
}

int vantor_server_run(vantor_server* server) {
    return vantor::guarded(
        [&] {
            server->server.run();
            return 0;
        },
        [](const char*) { return -1; });
}

void vantor_server_stop(vantor_server* server) {
    server->server.stop();
}

void vantor_server_free(vantor_server* server) {
    delete server;
}
