#include "tools/vantor/commands/serve_backends.h"

#include <csignal>
#include <sstream>

#include "service/model_backend.h"
#include "service/pipe_backend.h"
#include "service/table_backend.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/completion.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/library/trace_backend.h"

namespace vantor::tool {
namespace {

constexpr int kModelsEngines = 4;
constexpr double kDefaultTimeout = 30;

bool isSharedObject(const std::string& name) {
    const std::string extension = ".so";
    return name.find('/') != std::string::npos ||
           (name.size() > extension.size() &&
            name.compare(name.size() - extension.size(), extension.size(), extension) == 0);
}

/// An option that only some back ends have a use for.
void expectUse(const char* option, bool isGiven, bool hasUse, const char* users) {
    if (isGiven && !hasUse) throw UserError(std::string(option) + ": only with " + users);
}

void checkOptions(const BackendOptions& options) {
    const std::string& backend = options.backend;
    const bool isTrace = backend == "trace";
    const bool isFaulty = backend == "faulty";
    const bool isPipe = backend == "pipe" || options.answer == "pipe";
    expectUse("--answer", !options.answer.empty(), isTrace || isFaulty, "--backend trace or faulty");
    expectUse("--record", !options.record.empty(), isTrace, "--backend trace");
    expectUse("--script", !options.script.empty(), isFaulty, "--backend faulty");
    expectUse("--fault", !options.faults.empty(), isFaulty, "--backend faulty");
    expectUse("--command", !options.command.empty(), isPipe, "--backend pipe");
    expectUse("--timeout", options.timeout.has_value(), isPipe, "--backend pipe");
    expectUse("--backend-options", !options.options.empty(),
              isSharedObject(backend) || isSharedObject(options.answer), "a shared object as the back end");
    if (isTrace && options.record.empty()) throw UserError("--backend trace: expected --record");
    if (isPipe && options.command.empty()) throw UserError("--backend pipe: expected --command");
    if (isFaulty && options.script.empty() && options.faults.empty()) {
        throw UserError("--backend faulty: expected --script or --fault");
    }
}

SeatedBackend seatPipe(const BackendOptions& options) {
    std::signal(SIGCHLD,
                SIG_DFL);  // whoever started the tool may have ignored it, and commands' ends with it
    const auto timeout = std::chrono::duration<double>(options.timeout.value_or(kDefaultTimeout));
    const ShellCommand command{options.command, std::chrono::ceil<std::chrono::milliseconds>(timeout),
                               [](const std::string& line) { printMessage("command: %s", line.c_str()); }};
    return {[command] { return std::make_unique<PipeBackend>(command); }, "pipe", 1};
}

/// What answers requests: `option` named it.
SeatedBackend seatAnswer(const char* option, const std::string& name, const std::string& others,
                         const BackendOptions& options) {
    if (name == "model") return {[] { return std::make_unique<ModelBackend>(); }, name, kModelsEngines};
    if (name == "pipe") return seatPipe(options);
    if (isSharedObject(name)) return {loadBackends(name, options.options), name, 1};
    throw UserError(std::string(option) + " " + name + ": expected model, " + others +
                    "or a shared object, such as ./board.so");
}

SeatedBackend seatTrace(SeatedBackend answer, const BackendOptions& options) {
    const auto directory = std::make_shared<TraceDirectory>(options.record);
    const auto make = [directory, answer] {
        return std::make_unique<TraceBackend>(directory, answer.name, answer.make());
    };
    return {make, "trace of " + answer.name, answer.engines};
}

std::shared_ptr<FaultScript> scriptFrom(const BackendOptions& options) {
    auto script = std::make_shared<FaultScript>();
    if (!options.script.empty()) {
        const std::vector<uint8_t> bytes = readFile(options.script, kMaxTextBytes);
        std::istringstream text(std::string(bytes.begin(), bytes.end()));
        std::string line;
        for (int number = 1; std::getline(text, line); ++number) {
            script->add(options.script + ":" + std::to_string(number), line);
        }
    }
    for (const std::string& fault : options.faults) script->add("--fault", fault);
    return script;
}

SeatedBackend seatFaulty(SeatedBackend answer, const BackendOptions& options) {
    answer.name = "faulty " + answer.name;
    answer.faults = scriptFrom(options);
    return answer;
}

}  // namespace

void addBackendOptions(CLI::App& command, BackendOptions& options) {
    constexpr char kGroup[] = "Back ends";
    const auto add = [&](const char* name, auto& value, const char* type, const std::string& text) {
        return command.add_option(name, value, text)->type_name(type)->group(kGroup);
    };
    offerWords(
        add("--backend", options.backend, "BACKEND",
            "What computes: model (default), in software; a shared object, such as ./board.so; pipe, a "
            "command; trace, which keeps records; faulty, which fails to order"),
        "model pipe trace faulty");
    add("--backend-options", options.options, "TEXT", "For the shared object's open()");
    add("--command", options.command, "TEXT",
        "The shell's command that pipe runs for each request, with a line and raw planes on its standard "
        "input "
        "and raw planes on its standard output");
    add("--timeout", options.timeout, "SECONDS",
        "The longest that a command may take, up to 3600; default: 30")
        ->check(CLI::Range(0.001, 3600.0).description(""));
    offerWords(add("--answer", options.answer, "BACKEND",
                   "What computes for trace and faulty: model (default), pipe or a shared object"),
               "model pipe");
    add("--record", options.record, "DIRECTORY",
        "Where trace writes a record of each request, for vantor replay");
    add("--fault", options.faults, "LINE",
        "A fault of faulty: OPERATION COUNT: ACTION, such as \"warp 3: status -5\"; may be repeated")
        ->allow_extra_args(false);
    add("--script", options.script, "FILE", "A file of such lines");
}

SeatedBackend seat(const BackendOptions& options) {
    checkOptions(options);
    if (options.backend != "trace" && options.backend != "faulty") {
        return seatAnswer("--backend", options.backend, "pipe, trace, faulty ", options);
    }
    SeatedBackend answer =
        seatAnswer("--answer", options.answer.empty() ? "model" : options.answer, "pipe ", options);
    return options.backend == "trace" ? seatTrace(std::move(answer), options)
                                      : seatFaulty(std::move(answer), options);
}

}  // namespace vantor::tool
