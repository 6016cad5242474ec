#include "tools/vantor/io/calibration_file.h"

#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <map>
#include <pugixml.hpp>
#include <sstream>
#include <utility>

#include "tools/vantor/io/error.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::tool {
namespace {

/// What a file holds under a name: a scalar is one word, a matrix one word an element.
using Words = std::vector<std::string>;
using Entries = std::map<std::string, Words>;

/// Usual names of one thing, first as OpenCV's own programs write it; compared without case and punctuation.
const Words kCameraNames{"camera_matrix", "K", "M", "mtx", "intrinsic_matrix", "intrinsics"};
const Words kDistortionNames{
    "distortion_coefficients", "dist_coeffs", "dist_coeff", "D", "dist", "distortion"};
const Words kWidthNames{"image_width", "width"};
const Words kHeightNames{"image_height", "height"};
const Words kSizeNames{"image_size", "img_size", "resolution"};
const Words kFisheyeNames{"fisheye_model", "fisheye"};
const Words kModelNames{"distortion_model"};
const Words kRectificationNames{"rectification_matrix"};
const Words kProjectionNames{"projection_matrix"};

constexpr size_t kMostElements = 100;  ///< of what has one of these names

std::string plainName(const std::string& name) {
    std::string plain;
    for (const char letter : name) {
        const auto c = static_cast<unsigned char>(letter);
        if (std::isalnum(c)) plain += static_cast<char>(std::tolower(c));
    }
    return plain;
}

Words split(const std::string& text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

bool isUsual(const std::string& name) {
    for (const Words* names : {&kCameraNames, &kDistortionNames, &kWidthNames, &kHeightNames, &kSizeNames,
                               &kFisheyeNames, &kModelNames, &kRectificationNames, &kProjectionNames}) {
        const auto isThis = [&](const std::string& usual) { return plainName(usual) == plainName(name); };
        if (std::any_of(names->begin(), names->end(), isThis)) return true;
    }
    return false;
}

/// Of a scalar, a list, or a list of `depth` - 1 levels of lists; deeper ones, which may be endless, are left
/// out. Lists may hold a long one again and again, in few bytes: nothing is added beyond kMostElements.
Words scalarsOf(const YAML::Node& node, int depth) {
    if (node.IsScalar()) return {node.Scalar()};
    Words words;
    if (node.IsSequence() && depth > 0) {
        for (const YAML::Node& element : node) {
            const Words inner = scalarsOf(element, depth - 1);
            words.insert(words.end(), inner.begin(), inner.end());
            if (words.size() > kMostElements) break;
        }
    }
    return words;
}

Entries parseYaml(const std::string& text) {
    const YAML::Node root = YAML::Load(text);
    Entries entries;
    if (!root.IsMap()) return entries;
    for (const auto& entry : root) {
        const std::string name = entry.first.Scalar();
        if (!isUsual(name)) continue;
        const YAML::Node data = entry.second.IsMap() ? entry.second["data"] : entry.second;
        Words words = data ? scalarsOf(data, 2) : Words();
        if (words.size() > kMostElements)
            throw UserError(name + " has more than " + std::to_string(kMostElements) + " elements");
        entries[plainName(name)] = std::move(words);
    }
    return entries;
}

Entries parseXml(const std::string& text) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_string(text.c_str());
    if (!result) {
        throw UserError(std::string(result.description()) + " at byte " + std::to_string(result.offset));
    }
    Entries entries;
    for (const pugi::xml_node entry : document.document_element().children()) {
        const pugi::xml_node data = entry.child("data");
        entries[plainName(entry.name())] = split((data ? data : entry).text().get());
    }
    return entries;
}

Entries readEntries(const std::string& path) {
    const std::vector<uint8_t> bytes = readWhole(path);
    const std::string text(bytes.begin(), bytes.end());
    const size_t start = text.find_first_not_of(" \t\r\n");
    try {
        return start != std::string::npos && text[start] == '<' ? parseXml(text) : parseYaml(text);
    } catch (const std::exception& error) {
        throw UserError(path + ": not a calibration in YAML or XML: " + error.what());
    }
}

/// The entries of one file by their usual names; what is wrong with them is an error that names file, entry
/// and value.
class CalibrationText {
public:
    explicit CalibrationText(const std::string& path) : path_(path), entries_(readEntries(path)) {}

    const Words* find(const Words& names) const {
        for (const std::string& name : names) {
            const auto found = entries_.find(plainName(name));
            if (found != entries_.end()) return &found->second;
        }
        return nullptr;
    }

    std::vector<double> numbers(const Words& names) const {
        const Words* words = find(names);
        if (!words) fail("is missing", names);
        std::vector<double> values;
        for (const std::string& word : *words) {
            double value = 0;
            const auto [end, trouble] = std::from_chars(word.data(), word.data() + word.size(), value);
            if (trouble != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) {
                fail("has '" + word.substr(0, 40) + "', expected a number", names);
            }
            values.push_back(value);
        }
        return values;
    }

    const std::string& path() const { return path_; }

    [[noreturn]] void fail(const std::string& trouble, const Words& names) const {
        std::string others;
        for (size_t i = 1; i < names.size(); ++i) others += (i > 1 ? ", " : " (or ") + names[i];
        throw UserError(path_ + ": " + names[0] + (others.empty() ? "" : others + ")") + " " + trouble);
    }

private:
    std::string path_;
    Entries entries_;
};

Camera cameraIn(const CalibrationText& text) {
    const std::vector<double> k = text.numbers(kCameraNames);
    if (k.size() != 9)
        text.fail("has " + std::to_string(k.size()) + " elements, expected 3 x 3", kCameraNames);
    if (!(k[0] > 0 && k[4] > 0 && k[3] == 0 && k[6] == 0 && k[7] == 0 && k[8] == 1)) {
        text.fail("is not a camera matrix, expected rows fx 0 cx, 0 fy cy, 0 0 1 with fx and fy above 0",
                  kCameraNames);
    }
    return {k[0], k[4], k[2] + 0.5, k[5] + 0.5, k[1]};
}

/// Straight pictures have the calibration's own camera, or that of --alpha: another one would be ignored.
void refuseOtherView(const CalibrationText& text, const Camera& camera) {
    const std::vector<double> identity{1, 0, 0, 0, 1, 0, 0, 0, 1};
    const std::vector<double> same{
        camera.fx, camera.skew, camera.cx - 0.5, 0, 0, camera.fy, camera.cy - 0.5, 0, 0, 0, 1, 0};
    const auto expect = [&](const Words& names, const std::vector<double>& expected,
                            const std::string& what) {
        if (!text.find(names)) return;
        const auto isClose = [](double a, double b) {
            return std::abs(a - b) <= 1e-6 * std::max(1.0, std::abs(b));
        };
        const std::vector<double> values = text.numbers(names);
        if (!std::equal(values.begin(), values.end(), expected.begin(), expected.end(), isClose))
            text.fail("is not " + what +
                          ", and vantor does not apply it; without this entry, pictures are "
                          "straightened by camera_matrix or --alpha",
                      names);
    };
    expect(kRectificationNames, identity, "the identity");
    expect(kProjectionNames, same, "camera_matrix with a column of zeros");
}

bool isFisheyeIn(const CalibrationText& text) {
    if (const Words* model = text.find(kModelNames)) {
        const std::string name = model->size() == 1 ? plainName(model->front()) : std::string();
        if (name == "equidistant" || name == "fisheye") return true;
        if (name != "plumbbob" && name != "rationalpolynomial" && name != "radtan") {
            text.fail("is '" + (model->empty() ? "" : model->front()) +
                          "', expected plumb_bob, rational_polynomial, radtan, equidistant or fisheye",
                      kModelNames);
        }
    }
    const Words* flag = text.find(kFisheyeNames);
    return flag && *flag != Words{"0"} && *flag != Words{"false"};
}

Lens lensIn(const CalibrationText& text, bool isFisheye) {
    std::vector<double> values = text.numbers(kDistortionNames);
    const size_t count = values.size();
    if (isFisheye && count != 4) {
        text.fail("has " + std::to_string(count) + " elements, expected 4 for a fisheye", kDistortionNames);
    }
    if (count != 4 && count != 5 && count != 8 && count != 12 && count != 14) {
        text.fail("has " + std::to_string(count) + " elements, expected 4, 5, 8 or 12", kDistortionNames);
    }
    if (count == 14 && (values[12] != 0 || values[13] != 0)) {
        text.fail("tilts the sensor by its last two elements, expected 0 for them", kDistortionNames);
    }
    if (count == 4 && !isFisheye && !text.find(kModelNames) && !text.find(kFisheyeNames)) {
        note(text.path() +
             ": four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, "
             "say --fisheye");
    }
    Lens lens;
    lens.isFisheye = isFisheye;
    std::copy_n(values.begin(), std::min(count, lens.coefficients.size()), lens.coefficients.begin());
    return lens;
}

Size sizeIn(const std::string& path, const CalibrationText& text) {
    std::vector<double> sides;
    if (text.find(kSizeNames)) {
        sides = text.numbers(kSizeNames);
        if (sides.size() != 2)
            text.fail("has " + std::to_string(sides.size()) + " elements, expected 2", kSizeNames);
    } else {
        for (const Words* names : {&kWidthNames, &kHeightNames}) {
            if (!text.find(*names))
                text.fail("is missing; --calibrated-size WIDTHxHEIGHT says it as well", *names);
            const std::vector<double> side = text.numbers(*names);
            if (side.size() != 1)
                text.fail("has " + std::to_string(side.size()) + " elements, expected 1", *names);
            sides.push_back(side[0]);
        }
    }
    for (const double side : sides) {
        if (side < 1 || side > 1e6 || side != std::trunc(side)) {
            std::ostringstream size;
            size << path << ": picture size of " << sides[0] << " by " << sides[1]
                 << ": expected whole numbers from 1 to 1000000";
            throw UserError(size.str());
        }
    }
    return {static_cast<int>(sides[0]), static_cast<int>(sides[1])};
}

}  // namespace

Calibration readCalibration(const std::string& path, const CalibrationHints& hints) {
    const CalibrationText text(path);
    const Camera camera = cameraIn(text);
    refuseOtherView(text, camera);
    const Lens lens = lensIn(text, hints.isFisheye || isFisheyeIn(text));
    return {path, hints.size ? *hints.size : sizeIn(path, text), camera, lens};
}

}  // namespace vantor::tool
