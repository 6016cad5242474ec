// vantor scale: one picture to another size.
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/request.h"

namespace vantor::tool {
namespace {

struct ScaleOptions {
    std::string input;
    std::string output;
    std::string size;
    FormOptions inputForm{"--input", {}, {}};
    FormOptions outputForm{"--output", {}, {}};
};

const char* describe(Size from, Size to) {
    if (from == to) return "copied";
    if (to.width > from.width || to.height > from.height) return "enlarged (four-tap luma, bilinear chroma)";
    return "reduced (bicubic luma, bilinear chroma)";
}

/// "1280x720", or "50%" of the source, to the nearest even width and height.
Size targetSize(const std::string& text, Size source) {
    if (text.empty() || text.back() != '%') return parseSize("--size", text);
    char* end = nullptr;
    const double percent = std::strtod(text.c_str(), &end);
    if (*end != '%' || !(percent > 0 && percent <= 100.0 * kLargestSide)) {
        throw UserError("--size " + text + ": expected a positive percentage, such as 50%");
    }
    const auto side = [percent](int from) { return 2 * static_cast<int>(std::lround(from * percent / 200)); };
    const Size size{side(source.width), side(source.height)};
    checkLimits("--size " + text + ":", size);
    return size;
}

int run(const ScaleOptions& options) {
    const FileForm inputForm = fileForm(options.input, options.inputForm);
    const FileForm outputForm = fileForm(options.output, options.outputForm);
    Picture input = readPicture(inputForm);
    const Size size = targetSize(options.size, input.size);

    const Layout written = outputForm.layout.value_or(input.layout == Layout::Gray ? Layout::Gray : Layout::Rgb);
    checkOutput(outputForm, "--size", written, size);

    const Layout read = input.layout;
    Picture src = convert(std::move(input), workingLayout(read, written));
    Picture dst = makePicture(src.layout, size);
    const double milliseconds = runRequest(dst, src, hardware::vantorClient::runInterpBicubic);
    writePicture(outputForm, convert(std::move(dst), written));
    std::fprintf(stderr, "vantor: %s %s %s to %s %s %s: %s as %s in software in %.2f ms%s\n", options.input.c_str(),
                 toString(src.size).c_str(), toString(read), options.output.c_str(), toString(size).c_str(),
                 toString(written), describe(src.size, size), toString(src.layout), milliseconds,
                 describeRgb(read, written));
    return kDone;
}

}  // namespace

void addScale(CLI::App& app, Run& run) {
    auto options = std::make_shared<ScaleOptions>();
    CLI::App* command = app.add_subcommand("scale", "Scale a picture to another size");
    command->add_option("IN", options->input, "Picture: .png, or raw .nv12, .i420, .gray, .yuv")->required();
    command->add_option("-o,--output", options->output, "Result; its name says the file type")->required();
    command->add_option("--size", options->size, "Size of the result, such as 1280x720 or 50%")->required();
    command->add_option("--input-size", options->inputForm.size,
                        "Size of a raw IN whose name does not say it");
    command->add_option("--input-format", options->inputForm.format,
                        "Layout of a raw IN: nv12, i420 or gray");
    command->add_option("--output-format", options->outputForm.format, "Layout of a raw result");
    command->footer(
        "Examples:\n"
        "  vantor scale photo.png -o small.png --size 640x480\n"
        "  vantor scale photo.png -o half.png --size 50%\n"
        "  vantor scale clip_1920x1080_nv12.yuv -o clip.nv12 --size 1280x720\n"
        "  vantor scale dump.bin --input-size 640x480 --input-format gray -o big.png --size 1280x960");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
