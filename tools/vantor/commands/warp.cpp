// vantor warp: rotates, undistorts or otherwise warps pictures.
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/clip/make_clips.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/clip_options.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/warp_options.h"

namespace vantor::tool {
namespace {

struct WarpCommand {
    MakeOptions files;
    BackendOption backend;
    WarpOptions warp;
};

ClipResult warped(Clip& clip, const WarpCommand& command, Backend backend) {
    const Size size = clip.size();
    const FrameShape written = clip.written(clip.name(), size);
    const Size frame = warpFrame(clip.name(), size);
    const Request request = requestFrom(command.warp, backend, size, frame);
    noteFrame(clip.name(), size, frame);
    return clip.process(written, request, "warped (" + describe(command.warp) + ")", "the software model",
                        gridsFrom(command.warp));
}

int run(const WarpCommand& command) {
    if (!command.warp.isGiven()) {
        throw UserError(
            "expected one of --matrix, --grid, --grids, --calibration, --map, or a warp described by "
            "--rotate, --zoom, --shear, --shift, --lens and --center");
    }
    MakeOptions files = command.files;
    files.clip.alsoRead = command.warp.files();
    const Backend backend = command.backend.chosen();
    return makeClips(files, backend, [&](Clip& clip) { return warped(clip, command, backend); });
}

}  // namespace

void addWarp(CLI::App& app, Run& run, const RequestWatch& watch) {
    auto options = std::make_shared<WarpCommand>();
    options->files.clip.watch = watch;
    CLI::App* command = app.add_subcommand("warp", "Rotate, undistort or otherwise warp a picture or a clip");
    addClipOptions(*command, options->files);
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addGridsOption(*command, "--grids", options->warp);
    addMatrixOption(*command, options->warp);
    options->backend.addTo(*command);
    command->footer(
        "A described warp maps an output position to its source by --rotate, --zoom, --shear, --shift and "
        "--lens,\n"
        "in this order, around --center.\n"
        "Examples:\n"
        "  vantor warp photo.png -o turned.png --rotate 2 --zoom 1.05\n"
        "  vantor warp photo.png -o straight.png --lens=-0.12,0.01\n"
        "  vantor warp photo.png -o warped.png --grid warp.grid\n"
        "  vantor warp clip.y4m -o steady.y4m --grids steady.grids\n"
        "  vantor warp frame_*.png -o made/ --lens=-0.12,0.01\n"
        "  vantor warp photo.png -o half.png --matrix 8192,0,0,0,8192,0\n"
        "  ffmpeg -i clip.mp4 -f yuv4mpegpipe -pix_fmt yuv420p - | vantor warp - -o - --lens=-0.12,0.01 | "
        "\\\n"
        "      ffmpeg -i - -i clip.mp4 -map 0:v -map '1:a?' -c:a copy straight.mp4");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
