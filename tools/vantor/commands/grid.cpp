// vantor grid: make, show, check and convert grids.
#include <cmath>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "geometry/grid_report.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/grid_sequence.h"
#include "tools/vantor/commands/warp_options.h"
#include "tools/vantor/drawing/grid_plot.h"
#include "tools/vantor/io/camera_file.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {
namespace {

struct GridCommand {
    WarpOptions warp;
    std::string size;
    std::string output;
    std::string plot;
    std::string newCamera;
    double exaggerate = 1;
    bool check = false;
    bool json = false;
};

/// What is reported of a grid.
struct Findings {
    std::string what;
    Size frame;
    GridReport report;
    std::optional<GridError> error;  ///< where there is a map to compare with
    std::optional<Camera> camera;
};

/// The size that the grid is for: as given, the calibration's or the map's, or one that many cameras have.
Size pictureSize(const GridCommand& command) {
    if (!command.size.empty()) return parseSize("--size", command.size);
    return sizeOf(command.warp).value_or(Size{1920, 1080});
}

void print(const Findings& findings) {
    const GridReport& report = findings.report;
    printLine("%s, for pictures of %s", findings.what.c_str(), toString(findings.frame).c_str());
    printLine("displacements: %.2f to %.2f pixels across, %.2f to %.2f down", report.minDisplacement.x,
              report.maxDisplacement.x, report.minDisplacement.y, report.maxDisplacement.y);
    printLine("nodes beyond the engine's range: %d of 2178 values", report.nodesBeyondRange);
    printLine("folded cells: %d of 1024", report.foldedCells);
    printLine("outside the source: %.2f %% of the picture", 100 * report.outside);
    if (const auto& error = findings.error) {
        printLine(
            "error of the grid: largest %.4f pixels, at (%d, %d); RMS %.4f; beyond half a pixel %zu of %zu",
            error->largest, error->largestX, error->largestY, error->rms, error->beyondHalf, error->pixels);
    }
    if (const auto& camera = findings.camera) {
        printLine("camera of the straight picture: fx %.6g, fy %.6g, cx %.6g, cy %.6g, skew %.6g", camera->fx,
                  camera->fy, camera->cx - 0.5, camera->cy - 0.5, camera->skew);
    }
}

void printJson(const Findings& findings) {
    const GridReport& report = findings.report;
    nlohmann::ordered_json json{{"grid", findings.what},
                                {"size", {findings.frame.width, findings.frame.height}},
                                {"least_move", {report.minDisplacement.x, report.minDisplacement.y}},
                                {"largest_move", {report.maxDisplacement.x, report.maxDisplacement.y}},
                                {"nodes_beyond_range", report.nodesBeyondRange},
                                {"folded_cells", report.foldedCells},
                                {"outside", report.outside}};
    if (const auto& error = findings.error) {
        json["error"] = {{"largest", error->largest},
                         {"at", {error->largestX, error->largestY}},
                         {"rms", error->rms},
                         {"beyond_half_pixel", error->beyondHalf},
                         {"pixels", error->pixels}};
    }
    if (const auto& camera = findings.camera) {
        json["camera_matrix"] = {
            {camera->fx, camera->skew, camera->cx - 0.5}, {0, camera->fy, camera->cy - 0.5}, {0, 0, 1}};
    }
    printDocument(json);
}

/// Nothing is written to what is read, or twice to one file.
void expectOtherFiles(const GridCommand& command) {
    std::vector<std::string> others = command.warp.files();
    others.push_back("-");
    for (const auto& [option, path] : {std::pair("--output", command.output),
                                       {"--plot", command.plot},
                                       {"--new-camera", command.newCamera}}) {
        expectOtherFile(option, path, others);
        others.push_back(path);
    }
}

int run(const GridCommand& command) {
    expectOtherFiles(command);
    expectPngName("--plot", command.plot);
    const Size size = pictureSize(command);
    const std::string what = command.size.empty() ? describe(command.warp) : "--size";
    const Size frame = warpFrame(what, size);
    noteFrame(what, size, frame);
    if (!std::isfinite(command.exaggerate)) throw UserError("--exaggerate: expected a number");
    if (const auto grids = gridsFrom(command.warp)) {
        const bool isFaulty = showSequence(*grids, frame, command.output, command.json);
        return command.check && isFaulty ? kDifferent : kDone;
    }
    const Warp warp = warpFrom(command.warp, size, frame);
    Findings findings{describe(command.warp), frame, examine(warp.grid, frame), {}, warp.camera};
    if (warp.map) findings.error = measureError(warp.grid, warp.map, size, frame);
    if (!command.plot.empty())
        writeFile(command.plot, plotGrid(warp.grid, frame, command.exaggerate, findings.what));
    if (!command.output.empty()) {
        writeGrid(command.output, warp.grid, findings.what + ", made for pictures of " + toString(frame));
    }
    if (!command.newCamera.empty()) writeCamera(command.newCamera, *warp.camera, size);
    command.json ? printJson(findings) : print(findings);
    return command.check && findings.report.isFaulty() ? kDifferent : kDone;
}

}  // namespace

void addGrid(CLI::App& app, Run& run) {
    auto options = std::make_shared<GridCommand>();
    CLI::App* command =
        app.add_subcommand("grid", "Make, plot, check and convert grid files for vantor warp");
    command
        ->add_option("GRID", options->warp.gridFile,
                     "Grid file to read; otherwise the options below describe the grid")
        ->type_name("FILE");
    addWarpOptions(*command, options->warp);
    addGridsOption(*command, "--sequence", options->warp);
    command
        ->add_option(
            "-s,--size", options->size,
            "Size of the pictures that the grid is for; by default the calibration's or the map's, or "
            "1920x1080")
        ->type_name("WxH");
    command
        ->add_option(
            "-o,--output", options->output,
            "Grid file to write: text if it ends in .txt, else binary (8712 bytes); of a sequence, all "
            "grids behind each other")
        ->type_name("FILE");
    command
        ->add_option("--plot", options->plot,
                     "Draw the mesh of 32x32 cells and the displacements of its nodes to a PNG file")
        ->type_name("FILE")
        ->excludes(command->get_option("--sequence"));
    command
        ->add_option("--exaggerate", options->exaggerate, "Scale the displacements in the plot, 0 to 1000000")
        ->type_name("FACTOR")
        ->check(CLI::Range(0.0, 1e6).description(""));
    addNewCameraOption(*command, options->newCamera);
    command->add_flag("--check", options->check,
                      "Exit with status 1 if cells are folded or values are beyond the engine's range");
    command->add_flag("--json", options->json, "Print the report as JSON");
    command->footer(
        "Examples:\n"
        "  vantor grid --calibration camera.yml --alpha 0 -o straight.grid --plot mesh.png\n"
        "  vantor grid --calibration camera.yml --alpha 1 -o whole.grid --new-camera whole.json\n"
        "  vantor grid --rotate 2 --size 1920x1080 -o turn.grid --plot turn.png\n"
        "  vantor grid turn.grid -o turn.txt\n"
        "  vantor grid --sequence keys.txt --interpolate -o steady.grids --check\n"
        "  vantor grid turn.txt --check --plot mesh.png --exaggerate 5");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
