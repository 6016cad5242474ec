// vantor trace: what the model computes on the way to every pixel, as files for hardware's benches.
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/numbers.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/checked_request.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/completion.h"
#include "tools/vantor/library/trace_files.h"

namespace vantor::tool {
namespace {

struct TraceCommand {
    std::string input;
    std::string output;
    std::string region;
    std::string format = "npy";
    CheckedOptions request;
};

/// X,Y,W,H within an output, in whole pairs of chroma.
TraceRegion parseRegion(const std::string& text, Size output) {
    if (text.empty()) return {0, 0, output};
    TraceRegion region{};
    int end = 0;
    const int found = std::sscanf(text.c_str(), "%6d,%6d,%6d,%6d%n", &region.left, &region.top,
                                  &region.size.width, &region.size.height, &end);
    const auto [width, height] = region.size;
    const bool isInside = found == 4 && static_cast<size_t>(end) == text.size() && region.left >= 0 &&
                          region.top >= 0 && width > 0 && height > 0 && region.left + width <= output.width &&
                          region.top + height <= output.height;
    if (!isInside || region.left % 2 != 0 || region.top % 2 != 0) {
        throw UserError("--region " + text + ": expected X,Y,W,H with even X and Y, within " +
                        toString(output));
    }
    return region;
}

int run(const TraceCommand& command) {
    const CheckedRequest request(command.input, command.request);
    const bool isScaling = command.request.isScaling();
    const auto model = request.model(isScaling);
    const std::string what = command.input + ", " + toString(request.picture.size) + ", " +
                             describe(command.request, request.target);
    writeTrace(command.output, *model, parseRegion(command.region, request.target),
               traceFormat(command.format), what);
    return kDone;
}

}  // namespace

void addTrace(CLI::App& app, Run& run) {
    auto options = std::make_shared<TraceCommand>();
    CLI::App* command =
        app.add_subcommand("trace", "Write what is computed on the way to every pixel, as stage vectors");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("-o,--output", options->output, "Directory for the files, made if need be")
        ->type_name("DIR")
        ->required();
    command->add_option("--region", options->region, "Part of the output; default: all of it")
        ->type_name("X,Y,W,H");
    offerWords(
        command->add_option("--format", options->format, "npy (NumPy), hex ($readmemh) or csv; default npy")
            ->type_name("FORMAT"),
        "npy hex csv");
    addCheckedOptions(*command, options->request);
    command->footer(
        "Examples:\n"
        "  vantor trace photo.png -o vectors --size 640x360\n"
        "  vantor trace photo.png -o vectors --rotate 2 --region 600,300,64,64 --format hex");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
