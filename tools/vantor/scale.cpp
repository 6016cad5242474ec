// vantor scale: one picture to another size.
#include <cmath>
#include <cstdio>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/numbers.h"
#include "tools/vantor/request.h"

namespace vantor::tool {
namespace {

struct ScaleOptions {
    std::string input;
    std::string output;
    std::string size;
    std::string path = "sw";
    FormOptions inputForm{"--input", {}, {}};
    FormOptions outputForm{"--output", {}, {}};
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
    const FileForm inputForm = fileForm(options.input, options.inputForm);
    const FileForm outputForm = fileForm(options.output, options.outputForm);
    Picture input = readPicture(inputForm);
    const Layout read = input.layout;
    const Size readSize = input.size;
    const Layout written = writtenLayout(outputForm, read);
    const Layout working = workingLayout(read, written);

    Picture src = convert(std::move(input), working);
    const Size size = targetSize(options.size, src.size, isSubsampled(working) ? 2 : 1);
    checkOutput(outputForm, "--size", working, size);
    Picture dst = makePicture(working, size);
    const Path path = parsePath(options.path, "sw");
    const RequestResult result = runRequest(
        dst, src, path,
        path == Path::Hardware ? hardware::vantorClient::runCSC : hardware::vantorClient::runInterpBicubic);
    writePicture(outputForm, convert(std::move(dst), written));
    std::fprintf(stderr, "vantor: %s %s %s to %s %s %s: %s as %s %s in %.2f ms%s\n", options.input.c_str(),
                 toString(readSize).c_str(), toString(read), options.output.c_str(), toString(size).c_str(),
                 toString(written), describe(src.size, size), toString(working),
                 describe(path, "software", result).c_str(), result.milliseconds, describeRgb(read, written));
    return kDone;
}

}  // namespace

void addScale(CLI::App& app, Run& run) {
    auto options = std::make_shared<ScaleOptions>();
    CLI::App* command = app.add_subcommand("scale", "Scale a picture to another size");
    command->add_option("IN", options->input, "Picture: .png, or raw .nv12, .i420, .gray, .yuv")->required();
    command->add_option("-o,--output", options->output, "Result; its name says the file type")->required();
    command->add_option("--size", options->size, "Size of the result, such as 1280x720 or 50%")->required();
    command->add_option("--path", options->path, "sw: on the processor; hw: on the hardware service")
        ->capture_default_str();
    addFormOptions(*command, options->inputForm, options->outputForm);
    command->footer(
        "Examples:\n"
        "  vantor scale photo.png -o small.png --size 640x480\n"
        "  vantor scale photo.png -o half.png --size 50%\n"
        "  vantor scale clip_1920x1080_nv12.yuv -o clip.nv12 --size 1280x720\n"
        "  vantor scale dump.bin --input-size 640x480 --input-format gray -o big.png --size 1280x960");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
