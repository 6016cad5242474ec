// vantor grid: make, show, check and convert grids.
#include <cmath>
#include <cstdio>
#include <memory>

#include "tools/vantor/commands.h"
#include "tools/vantor/grid_plot.h"
#include "tools/vantor/grid_report.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/request.h"
#include "tools/vantor/warp_options.h"

namespace vantor::tool {
namespace {

struct GridCommand {
    WarpOptions warp;
    std::string size = "1920x1080";
    std::string output;
    std::string plot;
    double exaggerate = 1;
    bool check = false;
};

void print(const GridCommand& command, const GridReport& report, Size frame) {
    std::printf("%s, for pictures of %s\n", describe(command.warp).c_str(), toString(frame).c_str());
    std::printf("moves: %.2f to %.2f pixels across, %.2f to %.2f down\n", report.leastMove.x,
                report.largestMove.x, report.leastMove.y, report.largestMove.y);
    std::printf("nodes beyond the engine's range: %d of 2178 values\n", report.nodesBeyondRange);
    std::printf("folded cells: %d of 1024\n", report.foldedCells);
    std::printf("outside the source: %.2f %% of the picture\n", 100 * report.outside);
}

int run(const GridCommand& command) {
    const Size size = parseSize("--size", command.size);
    const Size frame = warpFrame("--size", size);
    if (!command.output.empty() && command.output == command.plot) {
        throw UserError("--plot " + command.plot + ": expected another file than --output");
    }
    if (!std::isfinite(command.exaggerate)) throw UserError("--exaggerate: expected a number");
    const Grid grid = gridFrom(command.warp, size, frame);
    const GridReport report = examine(grid, frame);
    const std::string what = describe(command.warp);
    if (!command.plot.empty()) writeWhole(command.plot, plotGrid(grid, frame, command.exaggerate, what));
    if (!command.output.empty()) {
        writeGrid(command.output, grid, what + ", made for pictures of " + toString(frame));
    }
    print(command, report, frame);
    const bool isFaulty = report.foldedCells != 0 || report.nodesBeyondRange != 0;
    return command.check && isFaulty ? kDifferent : kDone;
}

}  // namespace

void addGrid(CLI::App& app, Run& run) {
    auto options = std::make_shared<GridCommand>();
    CLI::App* command = app.add_subcommand("grid", "Make, show, check and convert grids for vantor warp");
    command->add_option("GRID", options->warp.gridFile,
                        "Grid to read; without it the options below describe one");
    addWarpOptions(*command, options->warp);
    command->add_option("--size", options->size, "Size of the pictures that the grid is for")
        ->capture_default_str();
    command->add_option("-o,--output", options->output, "Grid to write: text for .txt, else 8712 bytes");
    command->add_option("--plot", options->plot, "PNG to draw the mesh of 32x32 cells to");
    command->add_option("--exaggerate", options->exaggerate, "Multiply moves in the plot")
        ->check(CLI::Range(0.0, 1e6));
    command->add_flag("--check", options->check,
                      "Exit status 1 for folded cells and values beyond the engine's range");
    command->footer(
        "Examples:\n"
        "  vantor grid --rotate 2 --size 1920x1080 -o turn.grid --plot turn.png\n"
        "  vantor grid turn.grid -o turn.txt\n"
        "  vantor grid turn.txt --check --plot mesh.png --exaggerate 5");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
