#include "bindings/gstreamer/warp_source.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>

#include "bindings/c/grid_view.h"
#include "bindings/c/warp_size.h"
#include "geometry/error.h"
#include "geometry/grid_report.h"
#include "geometry/undistort_map.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/numbers.h"
#include "tools/vantor/io/calibration_file.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::gstreamer {
namespace {

using tool::UserError;

/// What messages call it.
std::string nameOf(const WarpSource& source) {
    if (source.kind == WarpKind::Matrix) return "matrix " + source.text;
    if (source.kind == WarpKind::Lens) return "lens " + source.text;
    return source.text;
}

void expectDone(const WarpSource& source, int status) {
    if (status < 0) throw UserError(nameOf(source) + ": " + vantor_message(nullptr));
}

void readGrid(const WarpSource& source, vantor_grid& grid) {
    const std::vector<uint8_t> bytes = tool::readFile(source.text, tool::kMaxTextBytes);
    expectDone(source, vantor_grid_parse(&grid, bytes.data(), bytes.size()));
}

void fromMatrix(const WarpSource& source, Size picture, vantor_grid& grid) {
    const std::array<int16_t, 6> matrix = tool::parseMatrix("matrix", source.text);
    expectDone(source, vantor_grid_from_matrix(&grid, matrix.data(), picture.width, picture.height));
}

void fromLens(const WarpSource& source, Size picture, vantor_grid& grid) {
    const std::array<double, 5> lens = tool::parseLens("lens", source.text);
    expectDone(source, vantor_grid_from_lens(&grid, lens.data(), picture.width, picture.height));
}

/// What is said of calibrations may name options of the tool.
std::string withOptionsOwner(const std::string& text) {
    if (text.find("--") == std::string::npos) return text;
    return text + " (an option of vantor grid, which makes files for the property grid)";
}

void fromCalibration(const std::string& path, Size picture, MadeWarp& warp) {
    tool::CalibrationHints hints;
    hints.note = [&](const std::string& text) { warp.notes.push_back(withOptionsOwner(text)); };
    try {
        const Calibration calibration = tool::readCalibration(path, hints);
        tool::noteShape(path, calibration, picture, hints.note);
        const SourceMap map = finiteMap(UndistortMap(calibration, picture, {}));
        c::store(makeGrid(map, c::extendedSize(picture)), warp.grid);
    } catch (const GeometryError& error) {
        throw UserError(path + ": " + error.what());
    } catch (const UserError& error) {
        throw UserError(withOptionsOwner(error.what()));
    }
}

void noteFolds(const WarpSource& source, Size picture, MadeWarp& warp) {
    const int folded = examine(c::gridOf(warp.grid), c::extendedSize(picture)).foldedCells;
    if (folded == 0) return;
    warp.notes.push_back(nameOf(source) + ": " + std::to_string(folded) +
                         " of 1024 cells of the grid are folded: the picture runs backward there");
}

bool isZero(const vantor_grid& grid) {
    const auto areZero = [](const auto& values) {
        return std::all_of(std::begin(values), std::end(values), [](int32_t value) { return value == 0; });
    };
    return areZero(grid.dx) && areZero(grid.dy);
}

}  // namespace

MadeWarp makeWarp(const WarpSource& source, Size picture) {
    MadeWarp warp;
    switch (source.kind) {
        case WarpKind::None:
            return warp;
        case WarpKind::Grid:
            readGrid(source, warp.grid);
            break;
        case WarpKind::Matrix:
            fromMatrix(source, picture, warp.grid);
            break;
        case WarpKind::Calibration:
            fromCalibration(source.text, picture, warp);
            break;
        case WarpKind::Lens:
            fromLens(source, picture, warp.grid);
            break;
    }
    noteFolds(source, picture, warp);
    warp.isIdentity = isZero(warp.grid);
    return warp;
}

}  // namespace vantor::gstreamer
