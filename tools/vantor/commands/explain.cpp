// vantor explain: every step of one scaled or warped pixel, by the model's own functions.
#include <array>
#include <memory>

#include "bindings/c/grid_view.h"
#include "geometry/pixel_steps.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/checked_request.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/library/engine.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

struct ExplainCommand {
    std::string input;
    int x = 0;
    int y = 0;
    CheckedOptions request;
    bool json = false;
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

void explainLuma(const LumaBlock& samples, const Bicubic& bicubic) {
    printLine("luma: sample x weight");
    for (size_t j = 0; j < 4; ++j) {
        const auto& [a, b, c, d] = samples[j];
        const auto& [wa, wb, wc, wd] = bicubic.weights[j];
        printLine("  %5d x %4d  %5d x %4d  %5d x %4d  %5d x %4d", a, wa, b, wb, c, wc, d, wd);
    }
    printLine("  sum %d, sum of weights %d, correction %d, bounds %d to %d", bicubic.sum, bicubic.weightSum,
              bicubic.correction, bicubic.low, bicubic.high);
    printLine("  Y = %d", bicubic.value);
}

void explainChroma(const char* name, const PixelSteps& steps, const Bilinear& b) {
    const PixelSource& at = steps.at;
    const ChromaTaps columns = chromaTaps(at.x, steps.frame.x.sourceSize);
    const ChromaTaps rows = chromaTaps(at.y, steps.frame.y.sourceSize);
    if (at.inside) {
        printLine("  %s: columns %d and %d, rows %d and %d; fractions %d across, %d down, steps %d and %d",
                  name, columns.first, columns.second, rows.first, rows.second, b.fractionX, b.fractionY,
                  b.stepX, b.stepY);
    }
    printLine("  %s: %d x %d + %d x %d + %d x %d + %d x %d, rounded by 9 bits; %s = %d", name,
              b.samples.leftTop, b.leftTopWeight, b.samples.rightTop, b.rightTopWeight, b.samples.leftBottom,
              b.leftBottomWeight, b.samples.rightBottom, b.rightBottomWeight, name, b.value);
}

void print(const PixelSteps& steps, const std::string& warp, const Json& library) {
    const auto& [column, row, frame, x, y, displacementX, displacementY, at, samples, luma, u, v] = steps;
    printLine("pixel (%d, %d) of %dx%d, warped (%s)", column, row, frame.x.sourceSize, frame.y.sourceSize,
              warp.c_str());
    printLine("virtual position");
    explainAxis("x", frame.x, column, x);
    explainAxis("y", frame.y, row, y);
    printLine("source position in 1/256 pixel%s", at.inside ? "" : ": outside the picture, so black");
    explainSource("x", frame.x, column, displacementX, at.x, steps.columns());
    explainSource("y", frame.y, row, displacementY, at.y, steps.rows());
    explainLuma(samples, luma);
    if (u && v) {
        printLine("chroma: sample x weight, left and right above, left and right below");
        explainChroma("U", steps, *u);
        explainChroma("V", steps, *v);
    } else {
        printLine("chroma: that of pixel (%d, %d)", column & ~1, row & ~1);
    }
    printLine("the library's picture has Y %d, U %d, V %d there", library[0].get<int>(),
              library[1].get<int>(), library[2].get<int>());
}

/// What the C library says of a pixel.
Json explained(Picture& nv12, const Grid& grid, int x, int y) {
    const Planes planes = planesOf(nv12);
    const vantor_image view{VANTOR_NV12,
                            nv12.size.width,
                            nv12.size.height,
                            {planes.luma, planes.chroma, nullptr},
                            {planes.lumaStride, planes.chromaStride, 0}};
    vantor_grid nodes;
    c::store(grid, nodes);
    size_t size = 0;
    expectDone(vantor_explain(&view, &nodes, x, y, nullptr, 0, &size));
    std::string text(size, '\0');
    expectDone(vantor_explain(&view, &nodes, x, y, text.data(), size, &size));
    return Json::parse(text.c_str());
}

void checkPixel(const ExplainCommand& command, Size size) {
    if (command.x < 0 || command.y < 0 || command.x >= size.width || command.y >= size.height) {
        throw UserError("X Y " + std::to_string(command.x) + " " + std::to_string(command.y) +
                        ": expected 0 0 to " + std::to_string(size.width - 1) + " " +
                        std::to_string(size.height - 1));
    }
}

/// All registers on the way to one scaled pixel, stage by stage.
Json scalingSteps(const CheckedRequest& request, int x, int y) {
    using Domain = verification::Model::Domain;
    const auto model = request.model(true);
    Json stages = Json::object();
    for (const Domain& domain : model->domains()) {
        const int step = domain.kind >= Domain::PairColumns ? 2 : 1;
        verification::Values values;
        model->describe(domain.kind, std::min(x / step, domain.size.width - 1),
                        std::min(y / step, domain.size.height - 1), values);
        for (size_t i = 0; i < values.names().size(); ++i) {
            const auto& [stage, quantity, instance] = values.names()[i];
            stages[stage][static_cast<size_t>(instance)][quantity] = values.values()[i];
        }
    }
    return stages;
}

/// What the library's picture has there.
Json scaledSamples(CheckedRequest& request, int x, int y) {
    Picture scaled = makePicture(request.picture.format, request.target);
    Engine(1).run(planesOf(scaled), planesOf(request.picture), scalingRequest(Backend::Software));
    Json samples = Json::array();
    for (const Component& component : components(scaled)) {
        const int halves = component.size == scaled.size ? 1 : 2;
        samples.push_back(component.at(x / halves, y / halves));
    }
    return samples;
}

int explainScaling(const ExplainCommand& command) {
    CheckedRequest request(command.input, command.request);
    checkPixel(command, request.target);
    const Json stages = scalingSteps(request, command.x, command.y);
    Json json{{"pixel", {command.x, command.y}},
              {"size", {request.picture.size.width, request.picture.size.height}},
              {"scaled", {request.target.width, request.target.height}}};
    json.update(stages);
    json["library"] = scaledSamples(request, command.x, command.y);
    if (command.json) {
        printDocument(json);
        return kDone;
    }
    printLine("pixel (%d, %d) of %s, scaled from %s", command.x, command.y, toString(request.target).c_str(),
              toString(request.picture.size).c_str());
    for (const auto& [stage, instances] : stages.items()) {
        printLine("%s", stage.c_str());
        for (const Json& registers : instances) {
            std::string line;
            for (const auto& [name, value] : registers.items()) line += "  " + name + " " + value.dump();
            printLine("%s", line.c_str());
        }
    }
    printLine("the library's picture has %s there", json["library"].dump().c_str());
    return kDone;
}

int run(const ExplainCommand& command) {
    if (command.request.isScaling()) return explainScaling(command);
    Picture input = readPicture(inputSpec(command.input, command.request.inputOptions));
    const Size size = input.size;
    checkPixel(command, size);
    const Size frameSize = checkedFrame(command.input, size);
    Picture picture = onFrame(command.input, std::move(input), frameSize, PixelFormat::Nv12);
    const Grid grid = gridFrom(command.request.warp, size, frameSize);
    const Json steps = explained(picture, grid, command.x, command.y);
    const std::string warp = describe(command.request.warp);
    if (command.json) {
        Json json{{"pixel", steps["pixel"]}, {"size", steps["size"]}, {"warp", warp}};
        json.update(steps);
        printDocument(json);
        return kDone;
    }
    const auto planes = GdcPlanes<const uint8_t>::pairs(
        picture.bytes.data(), picture.bytes.data() + frameSize.pixels(), frameSize.width, frameSize.height);
    print(stepsOf(grid, frameSize, planes, command.x, command.y), warp, steps["library"]);
    return kDone;
}

}  // namespace

void addExplain(CLI::App& app, Run& run) {
    auto options = std::make_shared<ExplainCommand>();
    CLI::App* command = app.add_subcommand("explain", "Show how one pixel is computed, step by step");
    command->add_option("IN", options->input, std::string("Picture: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command->add_option("X", options->x, "Output column")->type_name("")->required();
    command->add_option("Y", options->y, "Output row")->type_name("")->required();
    addCheckedOptions(*command, options->request);
    command->add_flag("--json", options->json, "Print the steps as JSON");
    command->footer(
        "Examples:\n"
        "  vantor explain photo.png 640 360 --rotate 2\n"
        "  vantor explain photo.png 100 100 --size 640x360\n"
        "  vantor explain photo.png 8 8 --matrix 8192,0,0,0,8192,0\n"
        "  vantor explain photo.png 0 0 --grid warp.grid --json");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
