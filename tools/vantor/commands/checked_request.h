// The request that explain, trace and coverage look into: one picture, scaled or warped.
#pragma once

#include <CLI/CLI.hpp>
#include <memory>
#include <string>

#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/commands/warp_options.h"
#include "verification/coverage.h"
#include "verification/model_values.h"

namespace vantor::tool {

/// Either --size or a warp.
struct CheckedOptions {
    std::string size;
    WarpOptions warp;
    FileOptions inputOptions{"--input", {}, {}};

    bool isScaling() const { return !size.empty(); }
};

/// The size that a warped picture is extended to: that of the device, or, as the C library does, the device's
/// smallest.
Size checkedFrame(const std::string& what, Size picture);

void addCheckedOptions(CLI::App& command, CheckedOptions& options);

/// Of one picture, in the format that the engines work on: gray or NV12, of even size.
struct CheckedRequest {
    Picture picture;
    Size target;  ///< of a scaling
    Grid grid{};  ///< of a warp

    CheckedRequest(const std::string& path, const CheckedOptions& options);

    verification::PictureView view() const;
    std::unique_ptr<verification::Model> model(bool isScaling) const;
};

/// "scaled to 640x480", or the warp in a few words.
std::string describe(const CheckedOptions& options, Size target);

}  // namespace vantor::tool
