// vantor stimulus: pictures that exercise all of the arithmetic.
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/library/stimulus_files.h"

namespace vantor::tool {
namespace {

struct StimulusCommand {
    std::string output;
    uint32_t seed = 1;
    std::string limits;
};

int run(const StimulusCommand& command) {
    const verification::Limits limits = limitsFrom(command.limits);
    const verification::Stimulus stimulus = makeStimulus(limits, command.seed);
    writeStimulus(command.output, stimulus, command.seed, command.limits);
    summarize(
        command.output + ": " + std::to_string(stimulus.requests.size()) + " requests, " +
        std::to_string(stimulus.samples()) + " samples; " +
        (stimulus.isComplete ? "they see all that can be seen" : "vantor coverage says what they miss"));
    return stimulus.isComplete ? kDone : kDifferent;
}

}  // namespace

void addStimulus(CLI::App& app, Run& run) {
    auto options = std::make_shared<StimulusCommand>();
    CLI::App* command = app.add_subcommand(
        "stimulus",
        "Make pictures, sizes and grids that exercise all of the arithmetic, with the expected results");
    command->add_option("-o,--output", options->output, "Directory for the files, made if need be")
        ->type_name("DIR")
        ->required();
    command->add_option("--seed", options->seed, "Of the random numbers; default 1")->type_name("N");
    command->add_option("--limits", options->limits, kLimitsHelp)->type_name(kLimitsType);
    command->footer(
        "Exit status: 0 all that can be seen is seen, 1 something is left, 2 error.\n"
        "Examples:\n"
        "  vantor stimulus -o stimulus --limits 1920x1080\n"
        "  vantor stimulus -o small --limits 640x480 --seed 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
