// vantor crosscheck: the same request on the hardware path and on the processor, compared.
#include <algorithm>
#include <cstdio>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/difference.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/json.h"
#include "tools/vantor/request.h"
#include "tools/vantor/warp_options.h"

namespace vantor::tool {
namespace {

struct CrosscheckOptions {
    std::string input;
    std::string size;
    WarpOptions warp;
    FormOptions form{"--input", {}, {}};
    bool json = false;
};

/// One request on both paths.
struct Check {
    Picture src;
    Size dstSize;
    Request processor;
    Request hardware;
};

Check scaling(const CrosscheckOptions& options, Picture input) {
    const Size size = parseSize("--size", options.size);
    const Layout working = workingLayout(input.layout, input.layout);
    return {convert(std::move(input), working), size, scalingRequest(Path::Processor),
            scalingRequest(Path::Hardware)};
}

Check warping(const CrosscheckOptions& options, Picture input) {
    const Size size = input.size;
    const Size frame = warpFrame(options.input, size);
    const Layout working = workingLayout(input.layout, input.layout);
    const auto on = [&](Path path) { return requestFrom(options.warp, path, size, frame); };
    return {onFrame(options.input, std::move(input), frame, working), frame, on(Path::Processor),
            on(Path::Hardware)};
}

int run(const CrosscheckOptions& options) {
    if (options.size.empty() == !options.warp.isGiven()) {
        throw UserError(
            "expected --size for a scaling request, or --grid, --matrix, --calibration or a described warp "
            "for a warping request");
    }
    Picture input = readPicture(fileForm(options.input, options.form));
    const Check check =
        options.size.empty() ? warping(options, std::move(input)) : scaling(options, std::move(input));
    Picture fromProcessor = makePicture(check.src.layout, check.dstSize);
    Picture fromHardware = makePicture(check.src.layout, check.dstSize);
    runRequest(fromProcessor, check.src, check.processor);
    const RequestResult result = runRequest(fromHardware, check.src, check.hardware);
    if (!result.fallback.empty()) {
        throw UserError("nothing to compare: the hardware path fell back to the processor (" +
                        result.fallback + ")");
    }
    const std::vector<Difference> differences = measure(fromHardware, fromProcessor);
    const bool isSame = std::all_of(differences.begin(), differences.end(),
                                    [](const Difference& difference) { return difference.differing == 0; });
    if (options.json) {
        printDocument({{"identical", isSame}, {"components", toJson(differences)}});
        return isSame ? kDone : kDifferent;
    }
    std::printf("hardware path (software service) and processor: %s\n", isSame ? "identical" : "different");
    std::for_each(differences.begin(), differences.end(), print);
    return isSame ? kDone : kDifferent;
}

}  // namespace

void addCrosscheck(CLI::App& app, Run& run) {
    auto options = std::make_shared<CrosscheckOptions>();
    CLI::App* command = app.add_subcommand(
        "crosscheck", "Run a request on the hardware path and on the processor, and compare");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)->required();
    command->add_option("--size", options->size, "Scale to this size");
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addMatrixOption(*command, options->warp);
    command->add_flag("--json", options->json, "Write the result as JSON");
    addFormOptions(*command, options->form);
    command->footer(
        "Exit status: 0 identical, 1 different, 2 trouble.\n"
        "Examples:\n"
        "  vantor crosscheck photo.png --size 640x480\n"
        "  vantor crosscheck photo.png --rotate 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
