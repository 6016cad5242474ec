// vantor coverage: what pictures reach and see of the arithmetic.
#include <memory>
#include <sstream>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/checked_request.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/library/stimulus_files.h"

namespace vantor::tool {
namespace {

using verification::Coverage;

struct CoverageCommand {
    std::vector<std::string> inputs;
    CheckedOptions request;
    std::vector<std::string> reports;
    std::string limits;
    std::string output;
    bool listRanges = false;
    bool json = false;
};

void addReport(Coverage& coverage, const std::string& path) {
    constexpr uintmax_t kMaxBytes = 16 * 1024 * 1024;
    const std::vector<uint8_t> text = readFile(path, kMaxBytes);
    try {
        coverage.add({text.begin(), text.end()});
    } catch (const std::runtime_error& error) {
        throw UserError(path + ": " + error.what());
    }
}

void addPicture(Coverage& coverage, const std::string& path, const CheckedOptions& options) {
    if (isStimulus(path)) return coverStimulus(coverage, path);
    const CheckedRequest request(path, options);
    if (options.isScaling()) {
        coverage.scaled(request.view(), request.target, path + " --size " + toString(request.target));
    } else {
        const std::string& file = options.warp.gridFile;
        const std::string how = file.empty() ? " (" + describe(options.warp) + ")" : " --grid " + file;
        coverage.warped(request.view(), request.grid, path + how);
    }
}

void printRanges(const verification::Limits& limits) {
    for (const verification::Unit& unit : verification::arithmetic()) {
        const std::vector<verification::Range> ranges = verification::rangesOf(unit, limits);
        for (size_t i = 0; i < ranges.size(); ++i) {
            const verification::Range& range = ranges[i];
            printLine(
                "%-20s %-20s %-5s %12lld to %lld%s", unit.name.c_str(), unit.quantities[i].name.c_str(),
                toString(range.bound()).c_str(), static_cast<long long>(range.low),
                static_cast<long long>(range.high),
                range.isDecided() ? "" : (", undecided: " + toString(range.witness()) + " occurs").c_str());
        }
    }
}

int run(const CoverageCommand& command) {
    const verification::Limits limits = limitsFrom(command.limits);
    if (command.listRanges) {
        printRanges(limits);
        return kDone;
    }
    if (command.inputs.empty() && command.reports.empty())
        throw UserError("IN or --add is required (vantor coverage --help)");
    Coverage coverage(limits);
    for (const std::string& report : command.reports) addReport(coverage, report);
    for (const std::string& input : command.inputs) addPicture(coverage, input, command.request);
    const std::string json = coverage.json() + "\n";
    if (!command.output.empty()) writeFile(command.output, json);
    std::istringstream lines(command.json ? json : coverage.report());
    for (std::string line; std::getline(lines, line);) printLine("%s", line.c_str());
    return coverage.isComplete() ? kDone : kDifferent;
}

}  // namespace

void addCoverage(CLI::App& app, Run& run) {
    auto options = std::make_shared<CoverageCommand>();
    CLI::App* command =
        app.add_subcommand("coverage", "Show what pictures exercise of the arithmetic, and what is left");
    command
        ->add_option("IN", options->inputs,
                     std::string("Pictures: ") + kPictureFiles + "; or what vantor stimulus made")
        ->type_name("FILE");
    addCheckedOptions(*command, options->request);
    command->add_option("--add", options->reports, "Reports to start from, made with -o or --json")
        ->type_name("FILE");
    command->add_option("--limits", options->limits, kLimitsHelp)->type_name(kLimitsType);
    command->add_option("-o,--output", options->output, "Write the report as JSON")->type_name("FILE");
    command->add_flag("--ranges", options->listRanges,
                      "List the width and the range of every register instead");
    command->add_flag("--json", options->json, "Print the report as JSON");
    command->footer(
        "Exit status: 0 all that can be seen was seen, 1 something is left, 2 error.\n"
        "Examples:\n"
        "  vantor coverage --ranges --limits 1920x1080\n"
        "  vantor stimulus -o stimulus --limits 640x480 && vantor coverage stimulus --limits 640x480");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
