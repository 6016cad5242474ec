// vantor explain: every step of one warped pixel, by the model's own functions.
#include <cstdio>
#include <memory>

#include "gdc_model/gdc_planes.h"
#include "tools/vantor/commands.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/model_frame.h"
#include "tools/vantor/request.h"
#include "tools/vantor/warp_options.h"

namespace vantor::tool {
namespace {

struct ExplainCommand {
    std::string input;
    int x = 0;
    int y = 0;
    WarpOptions warp;
    FormOptions inputForm{"--input", {}, {}};
};

/// A picture in the model's layout: three planes of 16-bit samples.
struct ModelSource {
    std::vector<uint16_t> samples;
    GdcSource planes;

    explicit ModelSource(Picture& nv12)
        : samples(widen(nv12)), planes(samples.data(), nv12.size.width, nv12.size.height, {}) {}

private:
    static std::vector<uint16_t> widen(Picture& nv12) {
        std::vector<uint8_t> bytes(nv12.bytes.size());
        YUV2PlaneTo3Plane(nv12.bytes.data(), bytes.data(), nv12.size.width, nv12.size.height);
        return {bytes.begin(), bytes.end()};
    }
};

void explainAxis(const char* name, const GdcAxis& axis, int position, const VirtualPosition& at) {
    std::printf("  %s: (%d x ((%d x %d) >> 7) + 2^%d) / 2^%d = %d of %d; cell %d, %d into it\n", name,
                2 * position + 1, axis.outScale, axis.scale, axis.scaleShifter + 7, axis.scaleShifter + 8,
                at.coordinate, kGridCells * (name[0] == 'x' ? kVirtualCellWidth : kVirtualCellHeight),
                at.cell, at.within);
}

void explainMove(const char* name, const GdcAxis& axis, int position, int displacement,
                 const SourcePosition& source, const std::array<int, 4>& taps) {
    std::printf("  %s: displacement %d; (%d x %d) rounded by 13 bits + %d x %d = %d (%.4f pixels)\n", name,
                displacement, axis.invScale, displacement, axis.outScale, 2 * position + 1, source.coordinate,
                source.coordinate / 256.0);
    std::printf("     index %d, fraction %d", source.index, source.fraction);
    if (source.index >= 0) std::printf("; taps %d %d %d %d", taps[0], taps[1], taps[2], taps[3]);
    std::printf("\n");
}

void explainLuma(const GdcFrame& frame, const GdcSource& src, const PixelSource& at) {
    const LumaBlock samples = lumaBlock(frame, src, at);
    const Bicubic bicubic(samples, at.x.fraction, at.y.fraction, frame.settings);
    std::printf("luma: sample x weight\n");
    for (size_t j = 0; j < 4; ++j) {
        for (size_t i = 0; i < 4; ++i) std::printf("  %5d x %4d", samples[j][i], bicubic.weights[j][i]);
        std::printf("\n");
    }
    std::printf("  sum %lld, sum of weights %d, correction %lld, bounds %d to %d\n",
                static_cast<long long>(bicubic.sum), bicubic.weightSum,
                static_cast<long long>(bicubic.correction), bicubic.low, bicubic.high);
    std::printf("  Y = %d\n", bicubic.value);
}

void explainChroma(const char* name, const GdcFrame& frame, const GdcSource& src, const uint16_t* plane,
                   const PixelSource& at) {
    const Bilinear b(chromaQuad(frame, src, plane, at), at.x, at.y, frame.settings);
    const ChromaTaps columns = chromaTaps(at.x, frame.x.sourceSize);
    const ChromaTaps rows = chromaTaps(at.y, frame.y.sourceSize);
    if (at.inside) {
        std::printf(
            "  %s: columns %d and %d, rows %d and %d; fractions %d across, %d down, steps %d and %d\n", name,
            columns.first, columns.second, rows.first, rows.second, b.fractionX, b.fractionY, b.stepX,
            b.stepY);
    }
    std::printf("  %s: %d x %lld + %d x %lld + %d x %lld + %d x %lld, rounded by 9 bits; %s = %d\n", name,
                b.samples.leftTop, static_cast<long long>(b.leftTopWeight), b.samples.rightTop,
                static_cast<long long>(b.rightTopWeight), b.samples.leftBottom,
                static_cast<long long>(b.leftBottomWeight), b.samples.rightBottom,
                static_cast<long long>(b.rightBottomWeight), name, b.value);
}

/// What the library itself gives for the pixel.
void printLibraryResult(Picture& src, const Grid& grid, int x, int y) {
    Picture dst = makePicture(src.layout, src.size);
    runRequest(dst, src, Path::Processor, [&](const auto& to, const auto& from, int32_t format) {
        return hardware::vantorClient::runGDCGrid(to, from, grid, format, hardware::GDC_C_MODEL);
    });
    const std::vector<Component> c = components(dst);
    std::printf("the library's picture has Y %d, U %d, V %d there\n", c[0].at(x, y), c[1].at(x / 2, y / 2),
                c[2].at(x / 2, y / 2));
}

int run(const ExplainCommand& command) {
    Picture input = readPicture(fileForm(command.input, command.inputForm));
    const Size size = input.size;
    if (command.x < 0 || command.y < 0 || command.x >= size.width || command.y >= size.height) {
        throw UserError("X Y " + std::to_string(command.x) + " " + std::to_string(command.y) +
                        ": expected 0 0 to " + std::to_string(size.width - 1) + " " +
                        std::to_string(size.height - 1));
    }
    const Size frameSize = warpFrame(command.input, size);
    Picture picture = onFrame(command.input, std::move(input), frameSize, Layout::Nv12);
    const Grid grid = gridFrom(command.warp, size, frameSize);
    const ModelSource src(picture);
    const GdcFrame frame = modelFrame(frameSize);
    const GridLines lines(GridTables(grid), frame, command.y);
    const VirtualPosition x = virtualPosition(frame.x, command.x, kVirtualCellWidth);
    const VirtualPosition y = virtualPosition(frame.y, command.y, kVirtualCellHeight);
    const PixelSource at = lines.source(frame, command.x, command.y);

    std::printf("pixel (%d, %d) of %s, warped (%s)\n", command.x, command.y, toString(frameSize).c_str(),
                describe(command.warp).c_str());
    std::printf("virtual position\n");
    explainAxis("x", frame.x, command.x, x);
    explainAxis("y", frame.y, command.y, y);
    std::printf("source position in 1/256 pixel%s\n", at.inside ? "" : ": outside the picture, so black");
    explainMove("x", frame.x, command.x, lines.x.displacement(x), at.x,
                lumaTaps(at.x.index, frameSize.width));
    explainMove("y", frame.y, command.y, lines.y.displacement(x), at.y,
                lumaTaps(at.y.index, frameSize.height));
    explainLuma(frame, src.planes, at);
    if (hasChroma(frame.settings, command.x, command.y)) {
        std::printf("chroma: sample x weight, left and right above, left and right below\n");
        explainChroma("U", frame, src.planes, src.planes.u, at);
        explainChroma("V", frame, src.planes, src.planes.v, at);
    } else {
        std::printf("chroma: that of pixel (%d, %d)\n", command.x & ~1, command.y & ~1);
    }
    printLibraryResult(picture, grid, command.x, command.y);
    return kDone;
}

}  // namespace

void addExplain(CLI::App& app, Run& run) {
    auto options = std::make_shared<ExplainCommand>();
    CLI::App* command = app.add_subcommand("explain", "Show every step of one warped pixel");
    command->add_option("IN", options->input, "Picture: .png, or raw .nv12, .i420, .gray, .yuv")->required();
    command->add_option("X", options->x, "Output column")->required();
    command->add_option("Y", options->y, "Output row")->required();
    addWarpOptions(*command, options->warp);
    addGridOption(*command, options->warp);
    addFormOptions(*command, options->inputForm);
    command->footer("Example:\n  vantor explain photo.png 640 360 --rotate 2");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
