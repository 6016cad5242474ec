#include "tools/vantor/io/calibration_file.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <pugixml.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "geometry/error.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::tool {
namespace {

/// The value of an entry: a scalar is one word, a matrix one word per element.
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

constexpr size_t kMaxElements = 100;  ///< of what has one of these names

std::string plainName(const std::string& name) {
    std::string plain;
    for (const char letter : name) {
        const auto c = static_cast<unsigned char>(letter);
        if (std::isalnum(c)) plain += static_cast<char>(std::tolower(c));
    }
    return plain;
}

/// Whether a plain name is that of something a calibration needs.
bool isUsual(const std::string& plain) {
    static const std::set<std::string> usual = [] {
        std::set<std::string> all;
        for (const Words* names : {&kCameraNames, &kDistortionNames, &kWidthNames, &kHeightNames, &kSizeNames,
                                   &kFisheyeNames, &kModelNames, &kRectificationNames, &kProjectionNames}) {
            std::transform(names->begin(), names->end(), std::inserter(all, all.end()), plainName);
        }
        return all;
    }();
    return usual.count(plain) != 0;
}

void append(Words& words, const std::string& name, const std::string& word) {
    if (words.size() == kMaxElements)
        throw UserError(name + " has more than " + std::to_string(kMaxElements) + " elements");
    words.push_back(word);
}

/// Collects the entries with usual names while YAML is parsed, and keeps nothing else of it: scalars, lists,
/// lists of lists, and such as the "data" of a map.
class YamlEntries : public YAML::EventHandler {
public:
    Entries take() { return std::move(entries_); }

private:
    using Mark = YAML::Mark;
    using Anchor = YAML::anchor_t;
    using Style = YAML::EmitterStyle::value;

    /// A map or a list around what is parsed.
    struct Level {
        bool isMap;
        bool hasKey = false;  ///< what comes next is the key's value
        std::string key{};
    };

    void OnDocumentStart(const Mark&) override {}
    void OnDocumentEnd() override {}
    void OnNull(const Mark&, Anchor) override { endNode({}); }
    void OnAlias(const Mark&, Anchor) override {
        if (entry()) throw UserError(levels_[0].key + " contains an alias, expected its value");
        endNode({});
    }
    void OnScalar(const Mark&, const std::string&, Anchor, const std::string& value) override {
        if (Words* words = entry()) append(*words, levels_[0].key, value);
        endNode(value);
    }
    void OnSequenceStart(const Mark&, const std::string&, Anchor, Style) override {
        levels_.push_back({false});
    }
    void OnSequenceEnd() override { endLevel(); }
    void OnMapStart(const Mark&, const std::string&, Anchor, Style) override { levels_.push_back({true}); }
    void OnMapEnd() override { endLevel(); }

    void endLevel() {
        levels_.pop_back();
        endNode({});
    }

    /// `text` is that of a scalar, which may be a key.
    void endNode(const std::string& text) {
        if (levels_.empty()) return;
        Level& level = levels_.back();
        const bool isKey = level.isMap && !level.hasKey;
        level.hasKey = isKey;
        level.key = isKey ? text : std::string();
        const std::string name = plainName(level.key);
        if (levels_.size() == 1 && isUsual(name)) entries_[name].clear();
    }

    /// The entry that a scalar belongs to here, if any.
    Words* entry() {
        if (levels_.empty()) return nullptr;
        const bool hasData = levels_.size() > 1 && levels_[1].isMap && levels_[1].key == "data";
        const auto lists = levels_.begin() + (hasData ? 2 : 1);
        const bool isList =
            levels_.end() - lists <= 2 &&
            std::none_of(lists, levels_.end(), [](const Level& level) { return level.isMap; });
        const auto found = isList ? entries_.find(plainName(levels_[0].key)) : entries_.end();
        return found == entries_.end() ? nullptr : &found->second;
    }

    Entries entries_;
    std::vector<Level> levels_;
};

Entries parseYaml(const std::string& text) {
    std::istringstream stream(text);
    YamlEntries entries;
    YAML::Parser(stream).HandleNextDocument(entries);
    return entries.take();
}

Entries parseXml(const std::string& text) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_string(text.c_str());
    if (!result) {
        throw UserError(std::string(result.description()) + " at byte " + std::to_string(result.offset));
    }
    Entries entries;
    for (const pugi::xml_node entry : document.document_element().children()) {
        const std::string name = plainName(entry.name());
        if (!isUsual(name)) continue;
        const pugi::xml_node data = entry.child("data");
        std::istringstream words((data ? data : entry).text().get());
        entries[name].clear();
        for (std::string word; words >> word;) append(entries[name], entry.name(), word);
    }
    return entries;
}

Entries readEntries(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path, kMaxTextBytes);
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
            const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), value);
            if (problem != std::errc() || end != word.data() + word.size() || !std::isfinite(value)) {
                fail("has '" + word.substr(0, 40) + "', expected a number", names);
            }
            values.push_back(value);
        }
        return values;
    }

    const std::string& path() const { return path_; }

    [[noreturn]] void fail(const std::string& problem, const Words& names) const {
        std::string others;
        for (size_t i = 1; i < names.size(); ++i) others += (i > 1 ? ", " : " (or ") + names[i];
        throw UserError(path_ + ": " + names[0] + (others.empty() ? "" : others + ")") + " " + problem);
    }

private:
    std::string path_;
    Entries entries_;
};

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
    const std::vector<double> k = text.numbers(kCameraNames);
    if (k.size() != 9)
        text.fail("has " + std::to_string(k.size()) + " elements, expected 3 x 3", kCameraNames);
    return checked(text, kCameraNames, [&] {
        std::array<double, 9> matrix;
        std::copy(k.begin(), k.end(), matrix.begin());
        return cameraOf(matrix);
    });
}

/// Undistorted pictures have the calibration's own camera, or that of --alpha: another one would be ignored.
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
    const std::vector<double> values = text.numbers(kDistortionNames);
    const Lens lens =
        checked(text, kDistortionNames, [&] { return lensOf(values.data(), values.size(), isFisheye); });
    if (values.size() == 4 && !isFisheye && !text.find(kModelNames) && !text.find(kFisheyeNames)) {
        note(text.path() +
             ": four distortion coefficients, taken as k1, k2, p1, p2; if they are a fisheye's, "
             "use --fisheye");
    }
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
            size << path << ": picture size of " << sides[0] << " by " << sides[1]
                 << ": expected integers from 1 to 1000000";
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
    return {hints.size ? *hints.size : sizeIn(path, text), camera, lens};
}

}  // namespace vantor::tool
