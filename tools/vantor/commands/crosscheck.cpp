// vantor crosscheck: the same request on both backends and by the C library, compared.
#include <algorithm>
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/commands/target_size.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/engine.h"
#include "tools/vantor/library/hardware_service.h"
#include "tools/vantor/library/request.h"
#include "tools/vantor/picture/difference.h"

namespace vantor::tool {
namespace {

struct CrosscheckOptions {
    std::string input;
    std::string size;
    WarpOptions warp;
    FileOptions fileOptions{"--input", {}, {}};
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
    const PixelFormat working = workingFormat(input.format, input.format);
    Picture src = convert(std::move(input), working);
    const Size size = targetSize(options.size, src.size, working == PixelFormat::Gray ? 1 : 2);
    return {std::move(src), size, scalingRequest(Backend::Software), scalingRequest(Backend::Hardware)};
}

Check warping(const CrosscheckOptions& options, Picture input) {
    const Size size = input.size;
    const Size frame = warpFrame(options.input, size);
    const PixelFormat working = workingFormat(input.format, input.format);
    const auto on = [&](Backend backend) { return requestFrom(options.warp, backend, size, frame); };
    return {onFrame(options.input, std::move(input), frame, working), frame, on(Backend::Software),
            on(Backend::Hardware)};
}

bool areIdentical(const std::vector<Difference>& differences) {
    return std::all_of(differences.begin(), differences.end(),
                       [](const Difference& difference) { return difference.differing == 0; });
}

void print(const std::string& what, const std::vector<Difference>& differences) {
    printLine("%s and software backend: %s", what.c_str(),
              areIdentical(differences) ? "identical" : "different");
    print(differences);
}

int run(const CrosscheckOptions& options) {
    if (options.size.empty() == !options.warp.isGiven()) {
        throw UserError(
            "expected --size for a scaling request, or --grid, --matrix, --calibration or a described warp "
            "for a warping request");
    }
    Picture input = readPicture(inputSpec(options.input, options.fileOptions));
    Check check =
        options.size.empty() ? warping(options, std::move(input)) : scaling(options, std::move(input));
    Picture fromProcessor = makePicture(check.src.format, check.dstSize);
    Picture fromEngine = fromProcessor;
    Picture fromHardware = fromProcessor;
    runRequest(fromProcessor, check.src, check.processor);
    Engine(0).run(planesOf(fromEngine), planesOf(check.src), check.processor);
    const RequestResult result = runRequest(fromHardware, check.src, check.hardware);
    if (!result.fallback().empty()) {
        throw UserError("nothing to compare: the hardware backend fell back to the CPU (" +
                        result.fallback() + ")");
    }
    const std::vector<Difference> ofHardware = measure(fromHardware, fromProcessor);
    const std::vector<Difference> ofEngine = measure(fromEngine, fromProcessor);
    const bool isSame = areIdentical(ofHardware) && areIdentical(ofEngine);
    if (options.json) {
        printDocument({{"identical", isSame},
                       {"service", serviceName()},
                       {"components", toJson(ofHardware)},
                       {"c_library_components", toJson(ofEngine)}});
    } else {
        print("hardware backend (here the " + serviceName() + ")", ofHardware);
        print("C library", ofEngine);
    }
    return isSame ? kDone : kDifferent;
}

}  // namespace

void addCrosscheck(CLI::App& app, Run& run) {
    auto options = std::make_shared<CrosscheckOptions>();
    CLI::App* command = app.add_subcommand(
        "crosscheck",
        "Run a request on both backends, hardware and software, and by the C library, and compare");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("-s,--size", options->size, std::string("Scale to this size, ") + kTargetSizes)
        ->type_name("SIZE");
    addServiceOption(*command);
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addMatrixOption(*command, options->warp);
    command->add_flag("--json", options->json, "Print the result as JSON");
    addFileOptions(*command, options->fileOptions);
    command->footer(
        "On a workstation the hardware service is the software service, which computes with this library, "
        "too: "
        "there\nthis checks the exchange of buffers with the service, not the hardware. --service leads to "
        "another.\n"
        "Exit status: 0 identical, 1 different, 2 error.\n"
        "Examples:\n"
        "  vantor crosscheck photo.png --size 50%\n"
        "  vantor crosscheck photo.png --rotate 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
