// vantor warp: rotates, undistorts or otherwise warps pictures.
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/base/error.h"
#include "tools/vantor/clip/make_clips.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/clip_options.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/io/camera_file.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

struct WarpCommand {
    MakeOptions files;
    BackendOption backend;
    WarpOptions warp;
    std::string newCamera;
};

/// The camera of the undistorted pictures, which is one for all that have one size. Thread-safe.
class NewCamera {
public:
    explicit NewCamera(const WarpCommand& command) : command_(command) {}

    void add(Size picture, Size frame) {
        if (command_.newCamera.empty()) return;
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!camera_) {
            camera_ = warpFrom(command_.warp, picture, frame).camera;
            size_ = picture;
        } else if (!(size_ == picture)) {
            throw UserError("--new-camera: a picture of " + toString(picture) + " among others of " +
                            toString(size_) + ": expected one size");
        }
    }
    void write() const {
        if (camera_) writeCamera(command_.newCamera, *camera_, size_);
    }

private:
    const WarpCommand& command_;
    std::mutex mutex_;
    std::optional<Camera> camera_;
    Size size_{};
};

/// Nothing is written to what is read, or twice to one file.
void checkNewCamera(const WarpCommand& command) {
    std::vector<std::string> others = command.warp.files();
    others.insert(others.end(), command.files.inputs.begin(), command.files.inputs.end());
    others.insert(others.end(), {command.files.output, command.files.clip.timesFile, "-"});
    expectOtherFile("--new-camera", command.newCamera, others);
}

ClipResult warped(Clip& clip, const WarpCommand& command, Backend backend, NewCamera& camera) {
    const Size size = clip.size();
    const FrameShape written = clip.written(clip.name(), size);
    const Size frame = warpFrame(clip.name(), size);
    camera.add(size, frame);
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
    checkNewCamera(command);
    NewCamera camera(command);
    const int status =
        makeClips(files, backend, [&](Clip& clip) { return warped(clip, command, backend, camera); });
    camera.write();
    return status;
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
    addNewCameraOption(*command, options->newCamera);
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
