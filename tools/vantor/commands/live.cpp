// vantor live: a page on which the engine itself runs.
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/drawing/live_page.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {
namespace {

struct LiveCommand {
    std::string input;
    std::string output;
    WarpOptions warp;
    FileOptions inputOptions{"--input", {}, {}};
};

void add(Arguments& words, const std::string& option, const std::string& value) {
    if (!value.empty()) words.insert(words.end(), {option, value});
}

Arguments inputArguments(const FileOptions& options) {
    const auto number = [](int value) { return value == 0 ? std::string() : std::to_string(value); };
    Arguments words;
    add(words, options.optionPrefix + "-format", options.format);
    add(words, options.optionPrefix + "-size", options.size);
    add(words, options.optionPrefix + "-stride", number(options.stride));
    add(words, options.optionPrefix + "-slice-height", number(options.sliceHeight));
    return words;
}

/// All but --alpha, which the page can change, and what has controls there.
Arguments warpArguments(const WarpOptions& options) {
    Arguments words;
    add(words, "--grid", options.gridFile);
    add(words, "--matrix", options.matrix);
    add(words, "--calibration", options.calibration);
    add(words, "--calibrated-size", options.calibratedSize);
    add(words, "--camera", options.camera);
    add(words, "--extrinsics", options.extrinsics);
    add(words, "--map", options.map);
    add(words, "--map-x", options.mapX);
    add(words, "--map-y", options.mapY);
    if (options.isFisheye) words.push_back("--fisheye");
    return words;
}

LiveWarp liveWarp(const WarpOptions& options, Size picture, Size frame) {
    LiveWarp warp{describe(options), warpArguments(options), gridFrom(options, picture, frame), {}, {}, {}};
    if (options.hasParts()) {
        warp.parts = partsOf(options);
    } else if (!options.calibration.empty()) {
        warp.name = options.calibration;
        warp.calibration = calibrationOf(options);
        warp.alpha = options.alpha;
    }
    return warp;
}

int run(const LiveCommand& command) {
    if (!hasLivePage()) {
        throw UserError(
            "this build has no engine for browsers: building it takes clang-14, lld-14, wasi-libc, "
            "libc++-14-dev-wasm32 and libclang-rt-14-dev-wasm32 (scripts/setup.sh --web), and CMake "
            "configured anew");
    }
    std::vector<std::string> read = command.warp.files();
    read.push_back(command.input);
    expectOtherFile("--output", command.output, read);
    const LivePicture picture{command.input, inputArguments(command.inputOptions),
                              readPicture(inputSpec(command.input, command.inputOptions))};
    const Size size = picture.picture.size;
    const Size frame = warpFrame(command.input, size);
    std::optional<LiveWarp> warp;
    if (command.warp.isGiven()) warp = liveWarp(command.warp, size, frame);
    const std::vector<uint8_t> page = livePage(picture, warp);
    writeFile(command.output, page);
    char megabytes[32];
    std::snprintf(megabytes, sizeof megabytes, "%.1f MB", static_cast<double>(page.size()) / 1e6);
    summarize(command.output + ": live page, " + megabytes);
    return kDone;
}

}  // namespace

void addLive(CLI::App& app, Run& run) {
    auto options = std::make_shared<LiveCommand>();
    CLI::App* command =
        app.add_subcommand("live", "Make an HTML page that warps a picture while nodes and numbers change");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("-o,--output", options->output, "HTML file to write; it is self-contained")
        ->type_name("FILE")
        ->required();
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addMatrixOption(*command, options->warp);
    addFileOptions(*command, options->inputOptions);
    command->footer(
        "The warp is what the page begins with. The page computes the bytes of vantor warp, and saves grid "
        "files for it.\n"
        "Examples:\n"
        "  vantor live photo.png -o live.html\n"
        "  vantor live photo.png --calibration camera.yml --alpha 0 -o live.html");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
