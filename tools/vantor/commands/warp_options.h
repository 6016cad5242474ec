// The options with which sub-commands take a warp.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "geometry/undistort_map.h"
#include "geometry/warp_map.h"
#include "tools/vantor/io/grid_sequence.h"
#include "tools/vantor/library/request.h"

namespace vantor::tool {

/// A warp as the user gives it: a grid file, a sequence of grids, a matrix, a camera's calibration, a dense
/// map, or the parts of one.
struct WarpOptions {
    std::string gridFile;
    std::string gridsFile;
    bool isInterpolated = false;  ///< of frames that an index does not number
    std::string matrix;
    std::string calibration;
    std::string calibratedSize;
    std::string camera;
    std::string extrinsics;
    bool isFisheye = false;
    std::optional<double> alpha;
    std::string map;
    std::string mapX;
    std::string mapY;
    double rotate = 0;
    double zoom = 1;
    std::string shear;
    std::string shift;
    std::string lens;
    std::string center;

    std::vector<const CLI::Option*> parts{};  ///< the options from --rotate on, once declared

    /// Whether any part was given.
    bool hasParts() const;
    /// How many of those ways to say which warp were used.
    int waysGiven() const {
        return hasParts() + !gridFile.empty() + !gridsFile.empty() + !matrix.empty() + !calibration.empty() +
               !map.empty() + !mapX.empty();
    }
    bool isGiven() const { return waysGiven() != 0; }
    /// What it is read from, for checks that nothing is written there; empty where there is none.
    std::vector<std::string> files() const;
};

void addWarpOptions(CLI::App& command, WarpOptions& options);

/// --grid, for sub-commands that do not take the file as an argument, and --matrix, for those that make
/// requests.
void addGridOption(CLI::App& command, WarpOptions& options);
/// Declares the option `name` for a grid per frame, and --interpolate.
void addGridsOption(CLI::App& command, const std::string& name, WarpOptions& options);
void addMatrixOption(CLI::App& command, WarpOptions& options);

/// Declares --new-camera, which needs --calibration.
void addNewCameraOption(CLI::App& command, std::string& file);

/// What the options stand for.
struct Warp {
    Grid grid;
    SourceMap map;                 ///< what the grid stands for; none for a grid file and a matrix
    std::optional<Camera> camera;  ///< of the straight picture, for a calibration
};

/// For a picture of `picture`'s size that the library gets at `frame`'s size.
Warp warpFrom(const WarpOptions& options, Size picture, Size frame);

inline Grid gridFrom(const WarpOptions& options, Size picture, Size frame) {
    return warpFrom(options, picture, frame).grid;
}

/// The parts, or the calibration, that the options give.
WarpParts partsOf(const WarpOptions& options);
Calibration calibrationOf(const WarpOptions& options);

/// The grids of all frames, if each has its own.
std::shared_ptr<GridSequence> gridsFrom(const WarpOptions& options);

/// The library's request for such a warp; where each frame has a grid of its own, without one.
Request requestFrom(const WarpOptions& options, Backend backend, Size picture, Size frame);

/// The size of the pictures that the calibration was made with, or that the map is for, if one was given.
std::optional<Size> sizeOf(const WarpOptions& options);

/// What the grid is, in a few words.
std::string describe(const WarpOptions& options);

}  // namespace vantor::tool
