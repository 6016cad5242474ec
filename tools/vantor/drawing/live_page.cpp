#include "tools/vantor/drawing/live_page.h"

#include "geometry/grid_text.h"
#include "tools/vantor/drawing/page_data.h"
#include "tools/vantor/io/png_file.h"

namespace vantor::tool {

/// Made of bindings/web; empty where WebAssembly cannot be built.
extern const char kLivePage[];

namespace {

using Json = nlohmann::ordered_json;

/// Gray and RGB as they are, all else as NV12, whose planes are the rows of a gray PNG.
Json toJson(const LivePicture& live) {
    const Picture& picture = live.picture;
    const Size size = picture.size;
    const bool isPlain = picture.format == PixelFormat::Rgb || picture.format == PixelFormat::Gray;
    Picture stored = isPlain ? picture : convert(picture, PixelFormat::Nv12);
    if (!isPlain) {
        stored.format = PixelFormat::Gray;
        stored.size.height = stored.size.height / 2 * 3;
    }
    const std::vector<uint8_t> png = encodePng(live.name, stored);
    return {{"name", live.name},
            {"options", live.options},
            {"kind", isPlain ? toString(picture.format) : "nv12"},
            {"size", {size.width, size.height}},
            {"fullRange", picture.isFullRange},
            {"png", base64(png.data(), png.size())}};
}

Json toJson(const WarpParts& parts) {
    return {{"rotate", {parts.rotate}},
            {"zoom", {parts.zoom}},
            {"shear", {parts.shear.x, parts.shear.y}},
            {"shift", {parts.shift.x, parts.shift.y}},
            {"lens", parts.lens}};
}

/// As vantor_grid_from_rectification() takes it: the centre of the first pixel at 0, 0.
Json toJson(const Calibration& calibration) {
    const auto matrix = [](const Camera& camera, int columns) {
        Json numbers{camera.fx, camera.skew, camera.cx - 0.5};
        if (columns == 4) numbers.push_back(0);
        numbers.insert(numbers.end(), {0, camera.fy, camera.cy - 0.5});
        if (columns == 4) numbers.push_back(0);
        numbers.insert(numbers.end(), {0, 0, 1});
        if (columns == 4) numbers.push_back(0);
        return numbers;
    };
    const auto& coefficients = calibration.lens.coefficients;
    Json json{{"matrix", matrix(calibration.camera, 3)},
              {"coefficients", coefficients},
              {"isFisheye", calibration.lens.isFisheye},
              {"size", {calibration.size.width, calibration.size.height}},
              {"rotation", calibration.rotation},
              {"projection", nullptr}};
    if (calibration.lens.isFisheye)
        json["coefficients"] = std::vector<double>(coefficients.begin(), coefficients.begin() + 4);
    if (calibration.straightCamera) json["projection"] = matrix(*calibration.straightCamera, 4);
    return json;
}

Json toJson(const LiveWarp& warp) {
    if (warp.parts) {
        Json json{{"kind", "parts"}, {"parts", toJson(*warp.parts)}};
        if (warp.parts->center) json["center"] = {warp.parts->center->x, warp.parts->center->y};
        return json;
    }
    if (warp.calibration) {
        return {{"kind", "calibration"},
                {"calibration",
                 {{"name", warp.name}, {"options", warp.options}, {"numbers", toJson(*warp.calibration)}}},
                {"alpha", warp.alpha ? Json(*warp.alpha) : Json()}};
    }
    const std::string values = toBinary(warp.grid);
    return {{"kind", "grid"},
            {"grid",
             {{"name", warp.name},
              {"options", warp.options},
              {"values", base64(reinterpret_cast<const uint8_t*>(values.data()), values.size())}}}};
}

}  // namespace

bool hasLivePage() {
    return kLivePage[0] != '\0';
}

std::vector<uint8_t> livePage(const LivePicture& picture, const std::optional<LiveWarp>& warp) {
    Json json{{"picture", toJson(picture)}};
    if (warp) json["warp"] = toJson(*warp);
    return filledPage(kLivePage, "VANTOR_LIVE_DATA", json);
}

}  // namespace vantor::tool
