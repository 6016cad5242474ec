#include "tools/vantor/io/calibration_file.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <sstream>
#include <vector>

#include "geometry/error.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/io/calibration_text.h"

namespace vantor::tool {
namespace {

/// What `make` makes of the numbers of an entry.
template <typename Make>
auto checked(const CalibrationText& text, const Words& names, Make&& make) {
    try {
        return make();
    } catch (const GeometryError& error) {
        text.fail(error.what(), names);
    }
}

Camera cameraIn(const CalibrationText& text) {
    std::vector<double> k = text.numbers(kCameraNames);
    if (k.size() == 4) k = {k[0], 0, k[2], 0, k[1], k[3], 0, 0, 1};
    if (k.size() != 9) {
        text.fail("has " + std::to_string(k.size()) + " elements, expected 3 x 3, or fx, fy, cx, cy",
                  kCameraNames);
    }
    return checked(text, kCameraNames, [&] {
        std::array<double, 9> matrix;
        std::copy(k.begin(), k.end(), matrix.begin());
        matrix[2] -= text.firstCentre();
        matrix[5] -= text.firstCentre();
        return cameraOf(matrix);
    });
}

void expectPinhole(const CalibrationText& text) {
    const Words* model = text.find(kCameraModelNames);
    if (model && *model != Words{"pinhole"})
        text.fail("is '" + (model->empty() ? "" : model->front()) + "', expected pinhole", kCameraModelNames);
}

/// How the straight picture looks at the scene, if the file says so.
void addView(const CalibrationText& text, const CalibrationHints& hints, Calibration& calibration) {
    const bool hasRotation = text.find(kRectificationNames);
    const bool hasProjection = text.find(kProjectionNames);
    if (text.isOfPair() && hasRotation != hasProjection) {
        text.fail("is missing, but the other matrix of a rectified view is there",
                  hasRotation ? kProjectionNames : kRectificationNames);
    }
    if (hasRotation) {
        const std::vector<double> r = text.numbers(kRectificationNames);
        calibration.rotation =
            checked(text, kRectificationNames, [&] { return rotationOf(r.data(), r.size()); });
    }
    if (hasProjection) {
        const std::vector<double> p = text.numbers(kProjectionNames);
        calibration.straightCamera =
            checked(text, kProjectionNames, [&] { return projectionOf(p.data(), p.size()); });
    }
    if (hasRotation || hasProjection) return;
    if (!hints.extrinsics.empty()) text.fail("is missing", kRectificationNames);
    if (text.isOfPair()) {
        hints.note(text.name() +
                   ": no rectification (R1, P1 or R2, P2): undistorted only; --extrinsics FILE adds " +
                   "those of another file");
    }
}

bool isFisheyeIn(const CalibrationText& text) {
    if (const Words* model = text.find(kModelNames)) {
        const std::string name = model->size() == 1 ? plainName(model->front()) : std::string();
        if (name == "equidistant" || name == "fisheye") return true;
        if (name != "plumbbob" && name != "rationalpolynomial" && name != "radtan" &&
            name != "radialtangential") {
            text.fail("is '" + (model->empty() ? "" : model->front()) +
                          "', expected plumb_bob, rational_polynomial, radtan, equidistant or fisheye",
                      kModelNames);
        }
    }
    const Words* flag = text.find(kFisheyeNames);
    return flag && *flag != Words{"0"} && *flag != Words{"false"};
}

Lens lensIn(const CalibrationText& text, const CalibrationHints& hints) {
    const bool isFisheye = hints.isFisheye || isFisheyeIn(text);
    const std::vector<double> values = text.numbers(kDistortionNames);
    const Lens lens =
        checked(text, kDistortionNames, [&] { return lensOf(values.data(), values.size(), isFisheye); });
    if (values.size() == 4 && !isFisheye && !text.find(kModelNames) && !text.find(kFisheyeNames)) {
        hints.note(text.name() +
                   ": four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, "
                   "use --fisheye");
    }
    return lens;
}

Size sizeIn(const CalibrationText& text) {
    std::vector<double> sides;
    if (text.find(kSizeNames)) {
        sides = text.numbers(kSizeNames);
        if (sides.size() != 2)
            text.fail("has " + std::to_string(sides.size()) + " elements, expected 2", kSizeNames);
    } else {
        for (const Words* names : {&kWidthNames, &kHeightNames}) {
            if (!text.find(*names))
                text.fail("is missing; --calibrated-size WIDTHxHEIGHT can replace it", *names);
            const std::vector<double> side = text.numbers(*names);
            if (side.size() != 1)
                text.fail("has " + std::to_string(side.size()) + " elements, expected 1", *names);
            sides.push_back(side[0]);
        }
    }
    for (const double side : sides) {
        if (side < 1 || side > 1e6 || side != std::trunc(side)) {
            std::ostringstream size;
            size << text.name() << ": picture size of " << sides[0] << " by " << sides[1]
                 << ": expected integers from 1 to 1000000";
            throw UserError(size.str());
        }
    }
    return {static_cast<int>(sides[0]), static_cast<int>(sides[1])};
}

}  // namespace

Calibration readCalibration(const std::string& path, const CalibrationHints& hints) {
    const CalibrationText text(path, hints.extrinsics, hints.camera);
    expectPinhole(text);
    const Camera camera = cameraIn(text);
    const Lens lens = lensIn(text, hints);
    Calibration calibration{hints.size ? *hints.size : sizeIn(text), camera, lens};
    addView(text, hints, calibration);
    return calibration;
}

void noteShape(const std::string& file, const Calibration& calibration, Size picture, const Note& give) {
    const auto text = [](Size size) {
        return std::to_string(size.width) + "x" + std::to_string(size.height);
    };
    const auto [width, height] = calibration.size;
    const double expected = static_cast<double>(height) * picture.width / width;
    if (std::abs(expected - picture.height) <= 1) return;
    give(file + " was made with pictures of " + text(calibration.size) + ", this one has " + text(picture) +
         ": taken as stretched, not cropped");
}

}  // namespace vantor::tool
