#include "tools/vantor/commands/warp_options.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <memory>

#include "gdc_model/grid_interp.h"
#include "gdc_model/matrix_grid.h"
#include "geometry/dense_map.h"
#include "geometry/error.h"
#include "geometry/grid_report.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/numbers.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/calibration_file.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/map_file.h"

namespace vantor::tool {
namespace {

Point parsePoint(const std::string& option, const std::string& text) {
    const std::vector<double> numbers = parseNumbers(option, text, 2, 2);
    return {numbers[0], numbers[1]};
}

/// Exactly one description of the warp, with values in range.
void checkOptions(const WarpOptions& options) {
    if (options.waysGiven() > 1) {
        throw UserError(
            "several warps: expected one of a grid file, a sequence of grids, --matrix, --calibration, "
            "--map, and a warp "
            "described by "
            "--rotate, --zoom, --shear, --shift, --lens and --center");
    }
    if (options.alpha && !(*options.alpha >= 0 && *options.alpha <= 1)) {
        throw UserError("--alpha " + std::to_string(*options.alpha) + ": expected a number from 0 to 1");
    }
}

/// The map, with errors that name what it was made of.
SourceMap checkedMap(const std::string& what, SourceMap map) {
    return [what, map = finiteMap(std::move(map))](Point output) {
        try {
            return map(output);
        } catch (const GeometryError& error) {
            throw UserError(what + ": " + error.what());
        }
    };
}

UndistortMap undistortMap(const Calibration& calibration, Size picture, const WarpOptions& options) {
    try {
        return UndistortMap(calibration, picture, options.alpha);
    } catch (const GeometryError& error) {
        throw UserError("--alpha " + std::to_string(*options.alpha) + ": " + options.calibration + ": " +
                        error.what());
    }
}

MapFile mapOf(const WarpOptions& options) {
    return options.map.empty() ? readMap(options.mapX, options.mapY) : readMap(options.map, {});
}

const std::string& mapName(const WarpOptions& options) {
    return options.map.empty() ? options.mapX : options.map;
}

SourceMap denseMap(const WarpOptions& options, Size picture) {
    const auto file = std::make_shared<const MapFile>(mapOf(options));
    if (!(file->size == picture)) {
        throw UserError(mapName(options) + ": a map for pictures of " + toString(file->size) + ", expected " +
                        toString(picture));
    }
    try {
        return [file, map = DenseMap(file->x.data(), file->y.data(), file->size)](Point output) {
            return map(output);
        };
    } catch (const GeometryError& error) {
        throw UserError(mapName(options) + ": " + error.what());
    }
}

int nodesBeyondRange(const Grid& grid) {
    int nodes = 0;
    for (int k = 0; k < kGridNodes * kGridNodes; ++k) {
        nodes += isBeyondRange(grid.dX[k]) || isBeyondRange(grid.dY[k]);
    }
    return nodes;
}

Grid withBytesSwapped(Grid grid) {
    const auto swapped = [](int32_t value) {
        return static_cast<int32_t>(__builtin_bswap32(static_cast<uint32_t>(value)));
    };
    std::transform(std::begin(grid.dX), std::end(grid.dX), grid.dX, swapped);
    std::transform(std::begin(grid.dY), std::end(grid.dY), grid.dY, swapped);
    return grid;
}

/// Useful grids have few such nodes, if any.
void noteRange(const std::string& file, const Grid& grid) {
    const int beyond = nodesBeyondRange(grid);
    if (2 * beyond <= kGridNodes * kGridNodes) return;
    const bool isSwapped = nodesBeyondRange(withBytesSwapped(grid)) == 0;
    note(file + ": " + std::to_string(beyond) + " of " + std::to_string(kGridNodes * kGridNodes) +
         " nodes are beyond the engine's range" +
         (isSwapped ? "; with the bytes of each value in reverse order none is: grid files are little-endian"
                    : ""));
}

}  // namespace

WarpParts partsOf(const WarpOptions& options) {
    WarpParts parts;
    parts.rotate = options.rotate;
    parts.zoom = options.zoom;
    if (!(std::isfinite(options.rotate))) throw UserError("--rotate: expected degrees, such as 2.5");
    if (!(options.zoom > 0 && std::isfinite(options.zoom))) {
        throw UserError("--zoom " + std::to_string(options.zoom) + ": expected a number above 0");
    }
    if (!options.shear.empty()) parts.shear = parsePoint("--shear", options.shear);
    if (parts.shear.x * parts.shear.y == 1)
        throw UserError("--shear " + options.shear + ": X times Y must not be 1");
    if (!options.shift.empty()) parts.shift = parsePoint("--shift", options.shift);
    if (!options.center.empty()) parts.center = parsePoint("--center", options.center);
    if (!options.lens.empty()) parts.lens = parseLens("--lens", options.lens);
    return parts;
}

Calibration calibrationOf(const WarpOptions& options) {
    CalibrationHints hints{options.isFisheye, {}, options.camera, options.extrinsics, note};
    if (!options.calibratedSize.empty()) hints.size = parseSize("--calibrated-size", options.calibratedSize);
    return readCalibration(options.calibration, hints);
}

bool WarpOptions::hasParts() const {
    return std::any_of(parts.begin(), parts.end(), [](const CLI::Option* part) { return part->count() > 0; });
}

std::vector<std::string> WarpOptions::files() const {
    std::vector<std::string> files{gridFile, calibration, extrinsics, map, mapX, mapY};
    if (const auto grids = gridsFrom(*this)) {
        const std::vector<std::string> more = grids->files();
        files.insert(files.end(), more.begin(), more.end());
    }
    return files;
}

void addWarpOptions(CLI::App& command, WarpOptions& options) {
    CLI::Option* calibration =
        command
            .add_option(
                "--calibration", options.calibration,
                "Undistort, and rectify, the pictures of a camera: a calibration of OpenCV, ROS or Kalibr "
                "(YAML, XML or JSON), or COLMAP's cameras.txt")
            ->type_name("FILE");
    command
        .add_option(
            "--alpha", options.alpha,
            "Camera matrix of the result: 0 shows valid pixels only, 1 the whole picture, between is a "
            "blend; by default the calibration's projection matrix, or else its camera matrix")
        ->type_name("0..1")
        ->needs(calibration);
    command
        .add_flag("--fisheye", options.isFisheye,
                  "Take the calibration as a fisheye's, although the file does not say so")
        ->needs(calibration);
    command
        .add_option("--calibrated-size", options.calibratedSize,
                    "Size of the pictures that the calibration was made with, if not in the file")
        ->type_name("WxH")
        ->needs(calibration);
    command
        .add_option(
            "--camera", options.camera,
            "Which camera of a calibration of several: 1 or left, 2 or right, cam0, or COLMAP's number")
        ->type_name("NAME")
        ->needs(calibration);
    command
        .add_option("--extrinsics", options.extrinsics,
                    "The second file of OpenCV's stereo calibration, with R1, P1, R2 and P2")
        ->type_name("FILE")
        ->needs(calibration);
    command
        .add_option(
            "--map", options.map,
            "Where pixels come from, as for cv2.remap: a .npy file of float32, shape (height, width, 2)")
        ->type_name("FILE");
    CLI::Option* mapX = command
                            .add_option("--map-x", options.mapX,
                                        "The same in two files of shape (height, width): x coordinates")
                            ->type_name("FILE");
    CLI::Option* mapY =
        command.add_option("--map-y", options.mapY, "The y coordinates, with --map-x")->type_name("FILE");
    mapX->needs(mapY);
    mapY->needs(mapX);
    options.parts = {
        command.add_option("--rotate", options.rotate, "Rotate counter-clockwise")->type_name("DEGREES"),
        command.add_option("--zoom", options.zoom, "Enlarge by this factor")->type_name("FACTOR"),
        command
            .add_option("--shear", options.shear,
                        "Shear by X pixels right per pixel down, and Y pixels down per pixel right")
            ->type_name("X,Y"),
        command.add_option("--shift", options.shift, "Shift by X pixels right and Y down")->type_name("X,Y"),
        command
            .add_option("--lens", options.lens,
                        "Correct lens distortion; radii are in units of half the diagonal")
            ->type_name("K1[,K2[,K3[,P1,P2]]]"),
        command
            .add_option("--center", options.center,
                        "Centre of the transform, in pixels; by default the picture's centre")
            ->type_name("X,Y")};
}

void addGridOption(CLI::App& command, WarpOptions& options) {
    command.add_option("--grid", options.gridFile, "Grid file, such as vantor grid makes")->type_name("FILE");
}

void addGridsOption(CLI::App& command, const std::string& name, WarpOptions& options) {
    CLI::Option* grids =
        command
            .add_option(
                name, options.gridsFile,
                "A grid per frame: binary grids behind each other, or a text whose lines have the number "
                "of a frame, from 0, and a grid file")
            ->type_name("FILE");
    command
        .add_flag("--interpolate", options.isInterpolated,
                  "Interpolate the grids of frames that this text does not number")
        ->needs(grids);
}

void addMatrixOption(CLI::App& command, WarpOptions& options) {
    command
        .add_option("--matrix", options.matrix,
                    "Output (x, y) comes from (A x + B y + C, D x + E y + F); integers, A, B, D, E in 1/4096 "
                    "and C, F in "
                    "1/32 pixel")
        ->type_name("A,B,C,D,E,F");
}

void addNewCameraOption(CLI::App& command, std::string& file) {
    command
        .add_option(
            "--new-camera", file,
            "Write the camera matrix of the undistorted pictures as a calibration: JSON for OpenCV, and for "
            "--calibration")
        ->type_name("FILE")
        ->needs(command.get_option("--calibration"));
}

Warp warpFrom(const WarpOptions& options, Size picture, Size frame) {
    checkOptions(options);
    if (!options.gridFile.empty()) {
        const Grid grid = readGrid(options.gridFile);
        noteRange(options.gridFile, grid);
        return {grid, {}, {}};
    }
    if (!options.matrix.empty()) {
        const AffineMatrix matrix(parseMatrix("--matrix", options.matrix).data());
        return {gridFromMatrix(matrix.values, frame.width, frame.height, true), {}, {}};
    }
    if (!mapName(options).empty()) {
        const SourceMap map = denseMap(options, picture);
        return {makeGrid(map, frame), map, {}};
    }
    if (options.calibration.empty()) {
        const SourceMap map = checkedMap(describe(options), WarpMap(partsOf(options), picture));
        return {makeGrid(map, frame), map, {}};
    }
    const Calibration calibration = calibrationOf(options);
    noteShape(options.calibration, calibration, picture);
    const UndistortMap undistort = undistortMap(calibration, picture, options);
    const SourceMap map = checkedMap(options.calibration, undistort);
    return {makeGrid(map, frame), map, undistort.straightCamera()};
}

std::shared_ptr<GridSequence> gridsFrom(const WarpOptions& options) {
    if (options.gridsFile.empty()) return {};
    checkOptions(options);
    const auto grids = std::make_shared<GridSequence>(
        options.gridsFile, options.isInterpolated ? Unnumbered::Interpolated : Unnumbered::Refused);
    noteRange(options.gridsFile + ": grid 0", grids->read(0));
    return grids;
}

Request requestFrom(const WarpOptions& options, Backend backend, Size picture, Size frame) {
    checkOptions(options);
    if (!options.gridsFile.empty()) return warpingRequest(backend, Grid{});
    return options.matrix.empty() ? warpingRequest(backend, gridFrom(options, picture, frame))
                                  : warpingRequest(backend, parseMatrix("--matrix", options.matrix));
}

std::optional<Size> sizeOf(const WarpOptions& options) {
    if (!options.calibration.empty()) return calibrationOf(options).size;
    if (!mapName(options).empty()) return mapOf(options).size;
    return std::nullopt;
}

std::string describe(const WarpOptions& options) {
    if (!options.gridFile.empty()) return "grid of " + options.gridFile;
    if (!options.gridsFile.empty()) return "grids of " + options.gridsFile;
    if (!options.matrix.empty()) return "matrix " + options.matrix;
    std::string text;
    const auto add = [&](const char* name, const std::string& value) {
        if (!value.empty()) text += (text.empty() ? "" : ", ") + std::string(name) + " " + value;
    };
    const auto number = [](double value, double neutral) {
        char digits[32];
        std::snprintf(digits, sizeof digits, "%g", value);
        return value == neutral ? std::string() : std::string(digits);
    };
    add("calibration", options.calibration);
    add("camera", options.camera);
    add("extrinsics", options.extrinsics);
    add("map", options.map);
    if (!options.mapX.empty()) add("map", options.mapX + " and " + options.mapY);
    if (options.alpha) add("alpha", number(*options.alpha, -1));
    add("rotation", number(options.rotate, 0));
    add("zoom", number(options.zoom, 1));
    add("shear", options.shear);
    add("shift", options.shift);
    add("lens", options.lens);
    add("center", options.center);
    return text.empty() ? "identity" : text;
}

}  // namespace vantor::tool
