// vantor scale: pictures to another size.
#include <memory>

#include "tools/vantor/clip/make_clips.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/clip_options.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/target_size.h"

namespace vantor::tool {
namespace {

struct ScaleOptions {
    MakeOptions files;
    std::string size;
    BackendOption backend;
};

const char* describe(Size from, Size to) {
    if (from == to) return "copied";
    if (to.width > from.width || to.height > from.height) return "enlarged (four-tap luma, bilinear chroma)";
    return "reduced (bicubic luma, bilinear chroma)";
}

ClipResult scaled(Clip& clip, const ScaleOptions& options, Backend backend) {
    const bool isColor = clip.isColor();
    const Size src = isColor ? evenSize(clip.size()) : clip.size();
    const Size dst = targetSize(options.size, src, isColor ? 2 : 1);
    const FrameShape written = clip.written("--size", dst);
    noteAliasing(src, dst);
    return clip.process(written, scalingRequest(backend), describe(src, dst), "software");
}

int run(const ScaleOptions& options) {
    const Backend backend = options.backend.chosen();
    return makeClips(options.files, backend, [&](Clip& clip) { return scaled(clip, options, backend); });
}

}  // namespace

void addScale(CLI::App& app, Run& run, const RequestWatch& watch) {
    auto options = std::make_shared<ScaleOptions>();
    options->files.clip.watch = watch;
    CLI::App* command = app.add_subcommand("scale", "Scale a picture or a clip to another size");
    addClipOptions(*command, options->files);
    command->add_option("-s,--size", options->size, std::string("Size of the result, ") + kTargetSizes)
        ->type_name("SIZE")
        ->required();
    options->backend.addTo(*command);
    command->footer(
        "Examples:\n"
        "  vantor scale photo.png -o small.png --size 640x480\n"
        "  vantor scale photo.png -o half.png -s 50%\n"
        "  vantor scale photo.png -o column.png --size 300x\n"
        "  vantor scale frame_*.png -o made/ --size 50% --skip-existing\n"
        "  vantor scale frame_*.png -o 'made/small_%03d.png' --size 50% --png-level 9\n"
        "  vantor scale clip.y4m -o small.y4m --size 1280x720 --jobs 4\n"
        "  vantor scale clip_1920x1080_nv12.yuv -o small.nv12 --size 1280x720 --skip 20 --limit 50\n"
        "  vantor scale dump.bin --input-size 1920x1080 --input-format nv21 --input-stride 2048 \\\n"
        "      --input-slice-height 1088 -o frame.png --size 50% --yuv-matrix 709\n"
        "  ffmpeg -i clip.mp4 -f yuv4mpegpipe -pix_fmt yuv420p - | vantor scale - -o - --size 640x360 | \\\n"
        "      ffmpeg -i - -i clip.mp4 -map 0:v -map '1:a?' -c:a copy small.mp4");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
