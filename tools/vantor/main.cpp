// vantor: scale, warp and compare pictures from the shell.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <new>
#include <set>

#include "processor/instruction_set.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/completion.h"
#include "tools/vantor/commands/manual.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

void checkEnvironment() {
    const char* cpu = std::getenv("VANTOR_CPU");
    if (!isInstructionSetLimit(cpu)) {
        throw UserError(std::string("VANTOR_CPU=") + cpu + ": expected plain, avx2 or avx512");
    }
    const char* log = std::getenv("VANTOR_LOG");
    const std::string level = log ? log : "error";
    if (level != "off" && level != "error" && level != "info") {
        throw UserError("VANTOR_LOG=" + level + ": expected off, error or info");
    }
}

/// Called where there is no memory, possibly inside code that could not recover from it, or would report
/// another error. So the process exits at once.
[[noreturn]] void exitOutOfMemory() {
    constexpr char kText[] = "vantor: out of memory\n";
    OutputFile::removeAll();
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, kText, sizeof kText - 1);
    _exit(kFailed);
}

/// Before global objects, such as CLI11's, are made.
[[gnu::constructor(101)]] void installNewHandler() {
    std::set_new_handler(exitOutOfMemory);
}

/// A file that is opened while a standard stream is closed would take its place and get what is meant for it.
/// Closed streams are reopened on /dev/null, in the direction that makes their use fail.
void reopenClosedStreams() {
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (fcntl(descriptor, F_GETFD) >= 0) continue;
        open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    }
}

/// What was written to standard output must have arrived.
void finishStandardOutput() {
    errno = 0;
    if (std::fflush(stdout) == 0 && !std::ferror(stdout)) return;
    throw UserError("standard output: cannot write" +
                    (errno == 0 ? std::string() : std::string(": ") + std::strerror(errno)));
}

int fail(const std::string& text) {
    printMessage("%s", text.c_str());
    return kFailed;
}

std::vector<CLI::App*> subcommandsOf(CLI::App& app) {
    return app.get_subcommands([](const CLI::App*) { return true; });
}

/// To all commands, which may be nested.
void addQuietOption(CLI::App& command) {
    command.add_flag_callback("-q,--quiet", setQuiet,
                              "Print errors only: no notes, progress or summary lines");
    for (CLI::App* inner : subcommandsOf(command)) addQuietOption(*inner);
}

/// The command whose --help explains the arguments.
std::string commandPath(const CLI::App& app) {
    const CLI::App* command = &app;
    while (!command->get_subcommands().empty()) command = command->get_subcommands().back();
    return command == &app ? "vantor" : "vantor " + command->get_name();
}

std::vector<std::string> subcommandNames(CLI::App& app) {
    std::vector<std::string> names;
    for (const CLI::App* command : subcommandsOf(app)) names.push_back(command->get_name());
    return names;
}

bool contains(const std::vector<std::string>& words, const std::string& word) {
    return std::find(words.begin(), words.end(), word) != words.end();
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += " " + word;
    return text;
}

/// An empty value means that an option was not given, so none may be given.
void refuseEmptyValues(const CLI::App& command) {
    for (const CLI::Option* option : command.get_options()) {
        if (contains(option->results(), "")) {
            throw UserError(option->get_name() + ": expected a value, and it is empty");
        }
    }
    for (const CLI::App* inner : command.get_subcommands()) refuseEmptyValues(*inner);
}

/// Commands that make no requests to the hardware backend do not have the option, which may come before them.
void refuseUnusedService(const CLI::App& app) {
    for (const CLI::App* command : app.get_subcommands()) {
        if (app.count("--service") == 0 || command->get_option_no_throw("--service") != nullptr) continue;
        throw UserError("--service: vantor " + command->get_name() + " makes no requests to a service");
    }
}

int runTool(int argc, char** argv) {
    CLI::App app{"Scales, warps and compares pictures and clips (PNG, Y4M, raw) with libVantor10."};
    app.name("vantor");
    app.set_version_flag("--version", "vantor " VANTOR_VERSION);
    app.require_subcommand(0, 1);
    app.footer(
        "vantor SUBCOMMAND --help lists options and examples.\n"
        "\n"
        "Environment:\n"
        "  VANTOR_CPU=plain|avx2|avx512  the best instruction set that may be used; default: the CPU's best\n"
        "  VANTOR_LOG=off|error|info     what the library logs to standard error; default: error\n"
        "  VANTOR_SERVICE=unix:PATH      the socket of the service that the hardware backend reaches; "
        "default: none\n"
        "  VANTOR_SERVICE_TIMEOUT=N      how long a request to it may take, in seconds; default: 5\n"
        "\n"
        "Exit status:\n"
        "  0  success; compare, crosscheck, replay, selftest: identical\n"
        "  1  compare, crosscheck, replay, selftest: different; scale, warp: another hash than --verify's, "
        "or failed\n"
        "     files of several; grid --check: faults; coverage, stimulus: something is left\n"
        "  2  error, explained on standard error; files are written atomically, so no partial result is "
        "left\n"
        "\n"
        "Examples:\n"
        "  vantor chart -o chart.png\n"
        "  vantor scale chart.png -o small.png --size 50%\n"
        "  vantor warp chart.png -o turned.png --rotate 2");
    bool wantsManual = false;
    app.add_flag("--manual", wantsManual, "Print the manual page")->group("");
    Run run;
    addServiceOption(app);
    addScale(app, run);
    addWarp(app, run);
    addGrid(app, run);
    addExplain(app, run);
    addTrace(app, run);
    addCoverage(app, run);
    addStimulus(app, run);
    addCrosscheck(app, run);
    addCompare(app, run);
    addView(app, run);
    addLive(app, run);
    addChart(app, run);
    addInfo(app, run);
    addRecord(app, run, {argv + 1, argv + argc});
    addReplay(app, run);
    addServe(app, run);
    addSelftest(app, run);
    addQuietOption(app);
    if (argc > 1 && argv[1][0] != '-' && !contains(subcommandNames(app), argv[1])) {
        return fail(std::string(argv[1]) + ": expected a sub-command:" + joined(subcommandNames(app)));
    }
    if (argc > 1 && std::strcmp(argv[1], "--complete") == 0) {
        const int status = printCompletions(app, {argv + 2, argv + argc});
        finishStandardOutput();
        return status;
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        if (error.get_exit_code() == 0) {
            app.exit(error);
            finishStandardOutput();
            return kDone;
        }
        return fail(std::string(error.what()) + " (see " + commandPath(app) + " --help)");
    }
    checkEnvironment();
    refuseEmptyValues(app);
    refuseUnusedService(app);
    if (!run && !wantsManual) return fail("expected a sub-command:" + joined(subcommandNames(app)));
    const int status = run ? run() : printManual(app);
    finishStandardOutput();
    return status;
}

}  // namespace

}  // namespace vantor::tool

int main(int argc, char** argv) {
    using namespace vantor::tool;
    std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error like any other
    reopenClosedStreams();
    try {
        return runTool(argc, argv);
    } catch (const UserError& error) {
        return fail(error.what());
    } catch (const std::bad_alloc&) {
        return fail("out of memory");
    } catch (const std::exception& error) {
        return fail(error.what());
    }
}
