// vantor explain: every step of one warped pixel, by the model's own functions.
#include <array>
#include <memory>

#include "gdc_model/gdc_planes.h"
#include "geometry/model_frame.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

struct ExplainCommand {
    std::string input;
    int x = 0;
    int y = 0;
    WarpOptions warp;
    FileOptions inputOptions{"--input", {}, {}};
    bool json = false;
};

/// A picture in the model's format: three planes of 16-bit samples.
struct ModelSource {
    std::vector<uint16_t> samples;
    GdcSource planes;

    explicit ModelSource(Picture& nv12)
        : samples(widen(nv12)),
          planes(GdcSource::consecutive(samples.data(), nv12.size.width, nv12.size.height, {})) {}

private:
    static std::vector<uint16_t> widen(Picture& nv12) {
        std::vector<uint8_t> bytes(nv12.bytes.size());
        YUV2PlaneTo3Plane(nv12.bytes.data(), bytes.data(), nv12.size.width, nv12.size.height);
        return {bytes.begin(), bytes.end()};
    }
};

void explainAxis(const char* name, const GdcAxis& axis, int position, const VirtualPosition& at) {
    printLine("  %s: (%d x ((%d x %d) >> 7) + 2^%d) / 2^%d = %d of %d; cell %d, %d into it", name,
              2 * position + 1, axis.outScale, axis.scale, axis.scaleShifter + 7, axis.scaleShifter + 8,
              at.coordinate, kGridCells * (name[0] == 'x' ? kVirtualCellWidth : kVirtualCellHeight), at.cell,
              at.within);
}

void explainSource(const char* name, const GdcAxis& axis, int position, int displacement,
                   const SourcePosition& source, const std::array<int, 4>& taps) {
    printLine("  %s: displacement %d; (%d x %d) rounded by 13 bits + %d x %d = %d (%.4f pixels)", name,
              displacement, axis.invScale, displacement, axis.outScale, 2 * position + 1, source.coordinate,
              source.coordinate / 256.0);
    std::string after;
    if (source.index >= 0) {
        for (const int tap : taps) after += (after.empty() ? "; taps " : " ") + std::to_string(tap);
    }
    printLine("     index %d, fraction %d%s", source.index, source.fraction, after.c_str());
}

void explainLuma(const GdcFrame& frame, const GdcSource& src, const PixelSource& at) {
    const LumaBlock samples = lumaBlock(frame, src, at);
    const Bicubic bicubic(samples, at.x.fraction, at.y.fraction, frame.settings);
    printLine("luma: sample x weight");
    for (size_t j = 0; j < 4; ++j) {
        const auto& [a, b, c, d] = samples[j];
        const auto& [wa, wb, wc, wd] = bicubic.weights[j];
        printLine("  %5d x %4d  %5d x %4d  %5d x %4d  %5d x %4d", a, wa, b, wb, c, wc, d, wd);
    }
    printLine("  sum %lld, sum of weights %d, correction %lld, bounds %d to %d",
              static_cast<long long>(bicubic.sum), bicubic.weightSum,
              static_cast<long long>(bicubic.correction), bicubic.low, bicubic.high);
    printLine("  Y = %d", bicubic.value);
}

void explainChroma(const char* name, const GdcFrame& frame, const Quad& samples, const PixelSource& at) {
    const Bilinear b(samples, at.x, at.y, frame.settings);
    const ChromaTaps columns = chromaTaps(at.x, frame.x.sourceSize);
    const ChromaTaps rows = chromaTaps(at.y, frame.y.sourceSize);
    if (at.inside) {
        printLine("  %s: columns %d and %d, rows %d and %d; fractions %d across, %d down, steps %d and %d",
                  name, columns.first, columns.second, rows.first, rows.second, b.fractionX, b.fractionY,
                  b.stepX, b.stepY);
    }
    printLine("  %s: %d x %lld + %d x %lld + %d x %lld + %d x %lld, rounded by 9 bits; %s = %d", name,
              b.samples.leftTop, static_cast<long long>(b.leftTopWeight), b.samples.rightTop,
              static_cast<long long>(b.rightTopWeight), b.samples.leftBottom,
              static_cast<long long>(b.leftBottomWeight), b.samples.rightBottom,
              static_cast<long long>(b.rightBottomWeight), name, b.value);
}

/// What the library itself gives for the pixel: Y, U, V.
std::array<int, 3> libraryResult(const Picture& src, const Request& request, int x, int y) {
    Picture dst = makePicture(src.format, src.size);
    runRequest(dst, src, request);
    const std::vector<Component> c = components(dst);
    return {c[0].at(x, y), c[1].at(x / 2, y / 2), c[2].at(x / 2, y / 2)};
}

/// All steps of the computation.
struct Steps {
    std::string warp;
    int column;
    int row;
    Size size;
    GdcFrame frame;
    VirtualPosition x;
    VirtualPosition y;
    int displacementX;
    int displacementY;
    PixelSource at;
    std::array<int, 3> library;

    std::array<int, 4> columns() const { return lumaTaps(at.x.index, size.width); }
    std::array<int, 4> rows() const { return lumaTaps(at.y.index, size.height); }
    bool isWithChroma() const { return hasChroma(frame.settings, column, row); }
};

void print(const Steps& steps, const GdcSource& src) {
    const auto& [warp, column, row, size, frame, x, y, displacementX, displacementY, at, library] = steps;
    printLine("pixel (%d, %d) of %s, warped (%s)", column, row, toString(size).c_str(), warp.c_str());
    printLine("virtual position");
    explainAxis("x", frame.x, column, x);
    explainAxis("y", frame.y, row, y);
    printLine("source position in 1/256 pixel%s", at.inside ? "" : ": outside the picture, so black");
    explainSource("x", frame.x, column, displacementX, at.x, steps.columns());
    explainSource("y", frame.y, row, displacementY, at.y, steps.rows());
    explainLuma(frame, src, at);
    if (steps.isWithChroma()) {
        printLine("chroma: sample x weight, left and right above, left and right below");
        const ChromaQuads quads = chromaQuads(frame, src, at);
        explainChroma("U", frame, quads.u, at);
        explainChroma("V", frame, quads.v, at);
    } else {
        printLine("chroma: that of pixel (%d, %d)", column & ~1, row & ~1);
    }
    printLine("the library's picture has Y %d, U %d, V %d there", library[0], library[1], library[2]);
}

Json axisJson(const VirtualPosition& at, int displacement, const SourcePosition& source,
              const std::array<int, 4>& taps) {
    Json json{{"virtual_position", at.coordinate},
              {"cell", at.cell},
              {"within_cell", at.within},
              {"displacement", displacement},
              {"source_position", source.coordinate},
              {"index", source.index},
              {"fraction", source.fraction}};
    if (source.index >= 0) json["taps"] = taps;
    return json;
}

Json lumaJson(const GdcFrame& frame, const GdcSource& src, const PixelSource& at) {
    const LumaBlock samples = lumaBlock(frame, src, at);
    const Bicubic b(samples, at.x.fraction, at.y.fraction, frame.settings);
    return {{"samples", samples},        {"weights", b.weights},       {"sum", b.sum},
            {"weight_sum", b.weightSum}, {"correction", b.correction}, {"bounds", {b.low, b.high}},
            {"value", b.value}};
}

Json chromaJson(const GdcFrame& frame, const Quad& samples, const PixelSource& at) {
    const Bilinear b(samples, at.x, at.y, frame.settings);
    return {{"samples", {b.samples.leftTop, b.samples.rightTop, b.samples.leftBottom, b.samples.rightBottom}},
            {"weights", {b.leftTopWeight, b.rightTopWeight, b.leftBottomWeight, b.rightBottomWeight}},
            {"value", b.value}};
}

Json toJson(const Steps& steps, const GdcSource& src) {
    const PixelSource& at = steps.at;
    Json json{{"pixel", {steps.column, steps.row}},
              {"size", {steps.size.width, steps.size.height}},
              {"warp", steps.warp},
              {"inside", at.inside},
              {"x", axisJson(steps.x, steps.displacementX, at.x, steps.columns())},
              {"y", axisJson(steps.y, steps.displacementY, at.y, steps.rows())},
              {"luma", lumaJson(steps.frame, src, at)},
              {"library", steps.library}};
    if (steps.isWithChroma()) {
        const ChromaQuads quads = chromaQuads(steps.frame, src, at);
        json["u"] = chromaJson(steps.frame, quads.u, at);
        json["v"] = chromaJson(steps.frame, quads.v, at);
    }
    return json;
}

int run(const ExplainCommand& command) {
    Picture input = readPicture(inputSpec(command.input, command.inputOptions));
    const Size size = input.size;
    if (command.x < 0 || command.y < 0 || command.x >= size.width || command.y >= size.height) {
        throw UserError("X Y " + std::to_string(command.x) + " " + std::to_string(command.y) +
                        ": expected 0 0 to " + std::to_string(size.width - 1) + " " +
                        std::to_string(size.height - 1));
    }
    const Size frameSize = warpFrame(command.input, size);
    Picture picture = onFrame(command.input, std::move(input), frameSize, PixelFormat::Nv12);
    const Request request = requestFrom(command.warp, Backend::Software, size, frameSize);
    const ModelSource src(picture);
    const GdcFrame frame = modelFrame(frameSize);
    const GridLines lines(GridTables(gridFrom(command.warp, size, frameSize)), frame, command.y);
    const VirtualPosition x = virtualPosition(frame.x, command.x, kVirtualCellWidth);
    const VirtualPosition y = virtualPosition(frame.y, command.y, kVirtualCellHeight);
    const Steps steps{describe(command.warp),
                      command.x,
                      command.y,
                      frameSize,
                      frame,
                      x,
                      y,
                      lines.x.displacement(x),
                      lines.y.displacement(x),
                      lines.source(frame, command.x, command.y),
                      libraryResult(picture, request, command.x, command.y)};
    command.json ? printDocument(toJson(steps, src.planes)) : print(steps, src.planes);
    return kDone;
}

}  // namespace

void addExplain(CLI::App& app, Run& run) {
    auto options = std::make_shared<ExplainCommand>();
    CLI::App* command =
        app.add_subcommand("explain", "Show how one pixel of a warp is computed, step by step");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("X", options->x, "Output column")->type_name("")->required();
    command->add_option("Y", options->y, "Output row")->type_name("")->required();
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addMatrixOption(*command, options->warp);
    addFileOptions(*command, options->inputOptions);
    command->add_flag("--json", options->json, "Print the steps as JSON");
    command->footer(
        "Examples:\n"
        "  vantor explain photo.png 640 360 --rotate 2\n"
        "  vantor explain photo.png 8 8 --matrix 8192,0,0,0,8192,0\n"
        "  vantor explain photo.png 0 0 --grid warp.grid --json");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
