// vantor serve: the hardware service for other processes, with whatever back end is seated.
#include <csignal>
#include <cstdio>
#include <memory>
#include <optional>

#include "service/server.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/serve_backends.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/library/coverage_backend.h"

namespace vantor::tool {
namespace {

struct ServeOptions {
    std::string socket;
    BackendOptions backend;
    int engines = 0;
    bool allowGroup = false;
    bool verbose = false;
    bool json = false;
    std::string coverage;
};

/// For the signal handler.
Server* running = nullptr;

/// While it exists, the first signal that asks the process to end stops the server, the second ends the
/// process.
class StopOnSignal {
public:
    explicit StopOnSignal(Server& server) {
        running = &server;
        struct sigaction action {};
        action.sa_handler = [](int) { running->stop(); };
        action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
        for (int signal : kSignals) sigaction(signal, &action, nullptr);
    }
    ~StopOnSignal() {
        for (int signal : kSignals) std::signal(signal, SIG_DFL);
    }
    StopOnSignal(const StopOnSignal&) = delete;
    StopOnSignal& operator=(const StopOnSignal&) = delete;

private:
    static constexpr int kSignals[] = {SIGTERM, SIGINT};
};

std::string region(const ImageGeometry& picture) {
    const auto& p = picture;
    if (p.cropLeft == 0 && p.cropTop == 0 && p.cropRight == p.width - 1 && p.cropBottom == p.height - 1)
        return {};
    return " (" + std::to_string(p.cropLeft) + ", " + std::to_string(p.cropTop) + " to " +
           std::to_string(p.cropRight) + ", " + std::to_string(p.cropBottom) + ")";
}

std::string size(const ImageGeometry& picture) {
    return std::to_string(picture.width) + "x" + std::to_string(picture.height);
}

nlohmann::ordered_json toJson(const ImageGeometry& picture) {
    const auto& p = picture;
    return {{"size", {p.width, p.height}}, {"region", {p.cropLeft, p.cropTop, p.cropRight, p.cropBottom}}};
}

void printJson(const ServedRequest& served) {
    nlohmann::ordered_json line{{"client", served.client},        {"request", served.method},
                                {"src", toJson(served.src)},      {"dst", toJson(served.dst)},
                                {"status", served.status},        {"milliseconds", served.milliseconds},
                                {"delivered", served.isDelivered}};
    if (served.status != 0) line["error"] = served.text;
    std::printf("%s\n", toText(documentOf(line), -1).c_str());
}

/// What is said of each request, and how many there were.
class Report {
public:
    explicit Report(const ServeOptions& options) : options_(options) {}

    void operator()(const ServedRequest& served) {
        ++requests_;
        if (served.status != 0) ++failed_;
        if (options_.json) {
            printJson(served);
        } else if (options_.verbose) {
            printLine("process %d: %s %s%s to %s%s: %s, %.3f ms%s", served.client, served.method,
                      size(served.src).c_str(), region(served.src).c_str(), size(served.dst).c_str(),
                      region(served.dst).c_str(),
                      served.status == 0 ? "done" : ("status " + std::to_string(served.status)).c_str(),
                      served.milliseconds, served.isDelivered ? "" : ", but the client had gone");
        }
        if (served.status != 0 && !options_.json) printMessage("%s", served.text);
        std::fflush(stdout);
    }

    void summarizeAll() const {
        summarize("served " + std::to_string(requests_) + " requests, of which " + std::to_string(failed_) +
                  " failed");
    }

private:
    const ServeOptions& options_;
    uint64_t requests_ = 0;
    uint64_t failed_ = 0;
};

std::unique_ptr<ListeningSocket> listen(const ServeOptions& options) {
    if (!ListeningSocket::isInherited()) {
        const std::string path = options.socket.empty() ? defaultSocketPath() : options.socket;
        return std::make_unique<ListeningSocket>(path, options.allowGroup);
    }
    if (!options.socket.empty()) throw UserError("--socket: the process was started with a socket already");
    return std::make_unique<ListeningSocket>();
}

/// The back ends of another maker, accounted for.
BackendMaker covered(const BackendMaker& make, const std::shared_ptr<CoverageAccounts>& accounts) {
    return [make, accounts] { return std::make_unique<CoverageBackend>(accounts, make()); };
}

int serve(const ServeOptions& options) {
    SeatedBackend seated = seat(options.backend);
    std::shared_ptr<CoverageAccounts> accounts;
    if (!options.coverage.empty()) {
        accounts = std::make_shared<CoverageAccounts>();
        seated.make = covered(seated.make, accounts);
    }
    const auto socket = listen(options);
    Report report(options);
    ServerOptions server;
    server.backend = seated.make;
    server.backendName = seated.name;
    server.engines = options.engines > 0 ? options.engines : seated.engines;
    server.isForGroup = options.allowGroup;
    server.faults = seated.faults;
    server.said = [&](const ServedRequest& served) { report(served); };
    server.refused = [](const std::string& why) { printMessage("refused a connection: %s", why.c_str()); };
    Server service(*socket, std::move(server));
    const StopOnSignal stop(service);
    summarize("serving on " + (socket->path().empty() ? "the inherited socket" : socket->path()) + " by " +
              seated.name);
    service.run();
    report.summarizeAll();
    if (accounts) {
        const std::string json = accounts->finish() + "\n";
        writeFile(options.coverage, json);
    }
    return kDone;
}

int run(const ServeOptions& options) {
    try {
        return serve(options);
    } catch (const Refusal& refusal) {
        throw UserError(refusal.text);
    }
}

}  // namespace

void addServe(CLI::App& app, Run& run) {
    auto options = std::make_shared<ServeOptions>();
    CLI::App* command = app.add_subcommand(
        "serve", "Serve the hardware path of clients in other processes, on a Unix socket");
    command
        ->add_option("--socket", options->socket,
                     "Listen on this path; default: vantor.sock in $XDG_RUNTIME_DIR, or the socket that the "
                     "process was started with")
        ->type_name("PATH");
    addBackendOptions(*command, options->backend);
    command
        ->add_option("--engines", options->engines,
                     "Requests that are computed at once, each by a back end of its own; default: 4 for the "
                     "model, else 1")
        ->type_name("N")
        ->check(CLI::Range(1, Server::kMaxEngines).description(""));
    command->add_flag("--allow-group", options->allowGroup,
                      "Serve all users of this process's group; default: its user only");
    command
        ->add_option("--coverage", options->coverage,
                     "At the end, write to this file what the requests exercised, for vantor coverage --add")
        ->type_name("FILE");
    command->add_flag("-v,--verbose", options->verbose, "Print a line per request");
    command->add_flag("--json", options->json, "Print a JSON object per request, in a line of its own");
    command->footer(
        "Clients find the service by VANTOR_SERVICE=unix:PATH, or `vantor SUBCOMMAND --service PATH`.\n"
        "SIGTERM and SIGINT end it once the requests that are computed have been answered; a second one ends "
        "it at once.\n"
        "Examples:\n"
        "  vantor serve --socket ./vantor.sock --verbose\n"
        "  vantor serve --socket ./vantor.sock --backend pipe --command ./request.sh\n"
        "  vantor serve --socket ./vantor.sock --backend trace --record records\n"
        "  vantor serve --socket ./vantor.sock --backend faulty --fault \"warp 3: status -5\"");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
