// vantor scale: pictures to another size.
#include <cmath>
#include <memory>

#include "tools/vantor/clip.h"
#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/numbers.h"

namespace vantor::tool {
namespace {

struct ScaleOptions {
    ClipOptions clip;
    std::string size;
    std::string path = "sw";
};

const char* describe(Size from, Size to) {
    if (from == to) return "copied";
    if (to.width > from.width || to.height > from.height) return "enlarged (four-tap luma, bilinear chroma)";
    return "reduced (bicubic luma, bilinear chroma)";
}

/// "1280x720", or "50%" of the source, rounded to multiples of `step`.
Size targetSize(const std::string& text, Size source, int step) {
    if (text.empty() || text.back() != '%') return parseSize("--size", text);
    const std::vector<double> percent = parseNumbers("--size", text.substr(0, text.size() - 1), 1, 1);
    if (!(percent[0] > 0 && percent[0] <= 100.0 * kLargestSide)) {
        throw UserError("--size " + text + ": expected a positive percentage, such as 50%");
    }
    const auto side = [&](int from) {
        return step * static_cast<int>(std::lround(from * percent[0] / 100 / step));
    };
    const Size size{side(source.width), side(source.height)};
    checkLimits("--size " + text + ":", size);
    return size;
}

int run(const ScaleOptions& options) {
    Clip clip(options.clip);
    const bool isColor = clip.working() != Layout::Gray;
    const Size src = isColor ? evenSize(clip.size()) : clip.size();
    const Size dst = targetSize(options.size, src, isColor ? 2 : 1);
    const FrameShape written = clip.written("--size", dst);
    if (isColor) checkEven("--size", dst);
    const Path path = parsePath(options.path, "sw");
    return clip.process(written, src, dst, scalingRequest(path), describe(src, dst), "software");
}

}  // namespace

void addScale(CLI::App& app, Run& run, const RequestWatch& watch) {
    auto options = std::make_shared<ScaleOptions>();
    options->clip.watch = watch;
    CLI::App* command = app.add_subcommand("scale", "Scale a picture or a clip to another size");
    addClipOptions(*command, options->clip);
    command->add_option("--size", options->size, "Size of the result, such as 1280x720 or 50%")->required();
    command->add_option("--path", options->path, "sw: on the processor; hw: on the hardware service")
        ->capture_default_str();
    command->footer(
        "Examples:\n"
        "  vantor scale photo.png -o small.png --size 640x480\n"
        "  vantor scale photo.png -o half.png --size 50%\n"
        "  vantor scale clip.y4m -o small.y4m --size 1280x720 --jobs 4\n"
        "  vantor scale clip_1920x1080_nv12.yuv -o small.nv12 --size 1280x720 --skip 20 --limit 50\n"
        "  vantor scale dump.bin --input-size 1920x1080 --input-format nv21 --input-stride 2048 \\\n"
        "      --input-slice-height 1088 -o frame.png --size 50% --yuv-matrix 709\n"
        "  ffmpeg -i clip.mp4 -f yuv4mpegpipe -pix_fmt yuv420p - | vantor scale - -o - --size 640x360 | \\\n"
        "      ffmpeg -i - -i clip.mp4 -map 0:v -map '1:a?' -c:a copy small.mp4");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
