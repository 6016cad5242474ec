// vantor warp: rotate, undistort or otherwise move the pixels of pictures.
#include <cmath>
#include <cstdint>
#include <memory>

#include "tools/vantor/clip.h"
#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/numbers.h"
#include "tools/vantor/warp_options.h"

namespace vantor::tool {
namespace {

struct WarpCommand {
    ClipOptions clip;
    std::string matrix;
    std::string path = "model";
    WarpOptions warp;
};

std::vector<int16_t> parseMatrix(const std::string& text) {
    std::vector<int16_t> matrix;
    for (double number : parseNumbers("--matrix", text, 6, 6)) {
        if (number != std::trunc(number) || number < INT16_MIN || number > INT16_MAX) {
            throw UserError("--matrix " + text + ": expected whole numbers from -32768 to 32767");
        }
        matrix.push_back(static_cast<int16_t>(number));
    }
    return matrix;
}

/// The request that the options stand for, for a picture that the library gets at `frame`'s size.
Request requestFrom(const WarpCommand& command, int32_t target, Size picture, Size frame) {
    if (command.matrix.empty() == !command.warp.isGiven()) {
        throw UserError(
            "expected one of --matrix, --grid, --calibration, or a warp described by --rotate, --zoom, "
            "--shear, "
            "--shift, --lens and --center");
    }
    if (!command.matrix.empty()) {
        return
            [target, matrix = parseMatrix(command.matrix)](const auto& dst, const auto& src, int32_t format) {
                return hardware::vantorClient::runGDCMatrix(dst, src, matrix.data(), format, target);
            };
    }
    return [target, grid = gridFrom(command.warp, picture, frame)](const auto& dst, const auto& src,
                                                                   int32_t format) {
        return hardware::vantorClient::runGDCGrid(dst, src, grid, format, target);
    };
}

int run(const WarpCommand& command) {
    Clip clip(command.clip);
    const Size size = clip.size();
    const FrameShape written = clip.written(command.clip.input, size);
    const Size frame = warpFrame(command.clip.input, size);
    const Path path = parsePath(command.path, "model");
    const int32_t target = path == Path::Hardware ? hardware::GDC_HW : hardware::GDC_C_MODEL;
    const Request request = requestFrom(command, target, size, frame);
    const std::string what = command.matrix.empty() ? describe(command.warp) : "matrix " + command.matrix;
    noteFrame(command.clip.input, size, frame);
    return clip.process(written, frame, frame, path, request, "warped (" + what + ")", "the software model");
}

}  // namespace

void addWarp(CLI::App& app, Run& run) {
    auto options = std::make_shared<WarpCommand>();
    CLI::App* command =
        app.add_subcommand("warp", "Rotate, undistort or otherwise move the pixels of a picture or a clip");
    addClipOptions(*command, options->clip);
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    command->add_option(
        "--matrix", options->matrix,
        "a,b,c,d,e,f: output (x, y) comes from (a x + b y + c, d x + e y + f); whole numbers, a, b, d, e "
        "in 1/4096 and c, f in 1/32 pixel");
    command->add_option("--path", options->path, "model: in the software model; hw: on the hardware service")
        ->capture_default_str();
    command->footer(
        "A described warp goes from an output position to its source through --rotate, --zoom, --shear, "
        "--shift\n"
        "and --lens in this order, around --center.\n"
        "Examples:\n"
        "  vantor warp photo.png -o turned.png --rotate 2 --zoom 1.05\n"
        "  vantor warp photo.png -o straight.png --lens=-0.12,0.01\n"
        "  vantor warp photo.png -o warped.png --grid warp.grid\n"
        "  vantor warp photo.png -o half.png --matrix 8192,0,0,0,8192,0\n"
        "  ffmpeg -i clip.mp4 -f yuv4mpegpipe - | vantor warp - -o - --lens=-0.12,0.01 | ffmpeg -i - "
        "straight.mp4");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
