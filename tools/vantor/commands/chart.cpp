// vantor chart: a test picture that shows scaling artefacts.
#include <algorithm>
#include <cmath>
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {
namespace {

struct ChartOptions {
    std::string output;
    std::string size = "1280x720";
    FileOptions fileOptions{"--output", {}, {}};
};

struct Color {
    double r;
    double g;
    double b;
};

Color gray(double level) {
    return {level, level, level};
}

/// Rings that get finer towards the rim, where they reach half a cycle per pixel: aliasing shows as false
/// rings.
Color zonePlate(double x, double y, double radius) {
    return gray(127.5 + 127.5 * std::cos(3.14159265358979 * (x * x + y * y) / (2 * radius)));
}

/// 36 spokes: the radius at which they blur shows the filter's resolution.
Color star(double x, double y) {
    return gray(std::sin(36 * std::atan2(y, x)) > 0 ? 235 : 20);
}

Color bar(double fraction) {
    constexpr Color kBars[] = {{235, 235, 235}, {235, 235, 16}, {16, 235, 235}, {16, 235, 16},
                               {235, 16, 235},  {235, 16, 16},  {16, 16, 235},  {16, 16, 16}};
    return kBars[std::min(static_cast<int>(fraction * 8), 7)];
}

/// Colour bars above, a ramp and a staircase below, a zone plate and a star between, on a ruled ground.
Color chartColor(double x, double y, double width, double height) {
    if (y < height / 8) return bar(x / width);
    if (y > height * 15 / 16) return gray(255 * std::floor(x / width * 16) / 15);
    if (y > height * 7 / 8) return gray(255 * x / width);
    const double radius = std::min(width / 4.4, height / 2.9);
    const double toMiddle = y - height / 2;
    const double toPlate = x - width / 4;
    const double toStar = x - width * 3 / 4;
    if (std::hypot(toPlate, toMiddle) < radius) return zonePlate(toPlate, toMiddle, radius);
    if (std::hypot(toStar, toMiddle) < radius) return star(toStar, toMiddle);
    const double pitch = height / 18;
    const bool isLine = std::fmod(x, pitch) < 1 || std::fmod(y, pitch) < 1;
    return isLine ? Color{60, 90, 160} : gray(200);
}

int run(const ChartOptions& options) {
    const FileSpec fileSpec = outputSpec(options.output, options.fileOptions);
    const Size size = parseSize("--size", options.size);
    const PixelFormat format = writtenFormat(fileSpec, PixelFormat::Rgb);
    writtenShape(fileSpec, "--size", format, size);
    if (isSubsampled(format)) checkEven("--size", size);
    Picture chart = makePicture(PixelFormat::Rgb, size);
    chart.isFullRange = fileSpec.type == FileType::Jpeg;
    uint8_t* out = chart.bytes.data();
    for (int y = 0; y < size.height; ++y) {
        for (int x = 0; x < size.width; ++x) {
            const Color color = chartColor(x + 0.5, y + 0.5, size.width, size.height);
            for (double level : {color.r, color.g, color.b})
                *out++ = static_cast<uint8_t>(std::lround(level));
        }
    }
    writePicture(fileSpec, convert(std::move(chart), format));
    summarize(options.output + ": test chart of " + toString(size));
    return kDone;
}

}  // namespace

void addChart(CLI::App& app, Run& run) {
    auto options = std::make_shared<ChartOptions>();
    CLI::App* command = app.add_subcommand("chart", "Draw a test chart that shows scaling artefacts");
    command->add_option("-o,--output", options->output, "Chart file; its extension selects the type")
        ->type_name("FILE")
        ->required();
    command->add_option("-s,--size", options->size, "Size of the chart")
        ->type_name("WxH")
        ->capture_default_str();
    command
        ->add_option("--output-format", options->fileOptions.format,
                     "Format of a raw chart: nv12, nv21, i420 or gray")
        ->type_name("FORMAT");
    addQualityOption(*command, options->fileOptions);
    command->footer(
        "Examples:\n"
        "  vantor chart -o chart.png --size 1920x1080\n"
        "  vantor chart -o chart_640x480.nv12 --size 640x480");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
