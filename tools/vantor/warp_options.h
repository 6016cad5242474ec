// The options with which sub-commands take a warp.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "tools/vantor/warp_map.h"

namespace vantor::tool {

/// A warp as the user gives it: a grid file, or the parts of one.
struct WarpOptions {
    std::string gridFile;
    double rotate = 0;
    double zoom = 1;
    std::string shear;
    std::string shift;
    std::string lens;
    std::string center;

    std::vector<const CLI::Option*> parts{};  ///< the options above but the file, once declared

    /// Whether any part was given.
    bool hasParts() const;
    /// Whether a file or any part was given.
    bool isGiven() const { return hasParts() || !gridFile.empty(); }
};

void addWarpOptions(CLI::App& command, WarpOptions& options);

/// The other way to say which grid, for sub-commands that do not take the file as an argument.
void addGridOption(CLI::App& command, WarpOptions& options);

/// The grid for a picture of `picture`'s size that the library gets at `frame`'s size.
Grid gridFrom(const WarpOptions& options, Size picture, Size frame);

/// What the grid is, in a few words.
std::string describe(const WarpOptions& options);

}  // namespace vantor::tool
