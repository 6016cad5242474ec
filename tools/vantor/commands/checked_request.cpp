#include "tools/vantor/commands/checked_request.h"

#include <algorithm>

#include "hardware/vantorClient/warp_limits.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/commands/target_size.h"

namespace vantor::tool {
namespace {

Picture working(Picture picture) {
    const bool isGray = picture.format == PixelFormat::Gray;
    return convert(std::move(picture), isGray ? PixelFormat::Gray : PixelFormat::Nv12);
}

}  // namespace

Size checkedFrame(const std::string& what, Size picture) {
    return warpFrame(what, {std::max<int>(picture.width, hardware::kMinWarpWidth),
                            std::max<int>(picture.height, hardware::kMinWarpHeight)});
}

void addCheckedOptions(CLI::App& command, CheckedOptions& options) {
    command.add_option("-s,--size", options.size, std::string("Scale to this size, ") + kTargetSizes)
        ->type_name("SIZE");
    addWarpOptions(command, options.warp);
    addGridOption(command, options.warp);
    addMatrixOption(command, options.warp);
    addFileOptions(command, options.inputOptions);
}

CheckedRequest::CheckedRequest(const std::string& path, const CheckedOptions& options)
    : picture(working(readPicture(inputSpec(path, options.inputOptions)))), target(picture.size) {
    if (options.isScaling() == options.warp.isGiven()) {
        throw UserError(
            "expected --size, or a warp: --grid, --matrix, --calibration or parts of one such as --rotate");
    }
    if (options.isScaling()) {
        target = targetSize(options.size, picture.size, picture.format == PixelFormat::Gray ? 1 : 2);
        if (target == picture.size)
            throw UserError("--size " + options.size + ": the picture is copied, and nothing is computed");
    } else {
        grid = gridFrom(options.warp, picture.size, checkedFrame(path, picture.size));
    }
}

verification::PictureView CheckedRequest::view() const {
    const uint8_t* const luma = picture.bytes.data();
    const bool isGray = picture.format == PixelFormat::Gray;
    return {luma, picture.size.width, isGray ? nullptr : luma + picture.size.pixels(), picture.size.width,
            picture.size};
}

std::unique_ptr<verification::Model> CheckedRequest::model(bool isScaling) const {
    return isScaling ? verification::makeScaleModel(view(), target)
                     : verification::makeWarpModel(view(), grid);
}

std::string describe(const CheckedOptions& options, Size target) {
    return options.isScaling() ? "scaled to " + toString(target) : describe(options.warp);
}

}  // namespace vantor::tool
