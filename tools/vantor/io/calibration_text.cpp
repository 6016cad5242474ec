#include "tools/vantor/io/calibration_text.h"

#include <yaml-cpp/eventhandler.h>
#include <yaml-cpp/yaml.h>

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <initializer_list>
#include <iterator>
#include <pugixml.hpp>
#include <set>
#include <sstream>
#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/input_file.h"

namespace vantor::tool {
namespace {

constexpr size_t kMaxElements = 100;  ///< of what has one of the usual names
constexpr size_t kMaxListed = 8;      ///< cameras in an error

/// Numbers in their order: 2 before 10.
struct ByNumber {
    bool operator()(const std::string& a, const std::string& b) const {
        return std::pair(a.size(), a) < std::pair(b.size(), b);
    }
};

/// By the cameras' names; what belongs to no camera by name has none.
using Cameras = std::map<std::string, Entries, ByNumber>;

const std::string kLeft = "left";
const std::string kRight = "right";
const std::string kColmapLine = "colmap";  ///< an entry: model, width, height, parameters

std::set<std::string> plainNames(std::initializer_list<const Words*> lists) {
    std::set<std::string> all;
    for (const Words* names : lists)
        std::transform(names->begin(), names->end(), std::inserter(all, all.end()), plainName);
    return all;
}

/// Whether a plain name is that of something a calibration needs.
bool isUsual(const std::string& plain) {
    static const std::set<std::string> usual = plainNames(
        {&kCameraNames, &kDistortionNames, &kWidthNames, &kHeightNames, &kSizeNames, &kFisheyeNames,
         &kModelNames, &kCameraModelNames, &kRectificationNames, &kProjectionNames});
    return usual.count(plain) != 0;
}

/// Whether it is that of something that each camera of a pair has, with a number or a side behind it.
bool isUsualInPairs(const std::string& plain) {
    static const std::set<std::string> usual =
        plainNames({&kCameraNames, &kDistortionNames, &kRectificationNames, &kProjectionNames});
    return usual.count(plain) != 0;
}

/// A new entry of this name, or null if no calibration needs it: "M1" is the camera matrix of the left one.
Words* startEntry(Cameras& cameras, const std::string& name) {
    const auto start = [&](const std::string& camera, const std::string& plain) {
        Words& words = cameras[camera][plain];
        words.clear();
        return &words;
    };
    const std::string plain = plainName(name);
    if (isUsual(plain)) return start({}, plain);
    for (const auto& [ending, camera] :
         {std::pair<std::string, std::string>("1", kLeft), {"2", kRight}, {kLeft, kLeft}, {kRight, kRight}}) {
        const size_t rest = plain.size() - std::min(plain.size(), ending.size());
        if (plain.substr(rest) == ending && isUsualInPairs(plain.substr(0, rest)))
            return start(camera, plain.substr(0, rest));
    }
    return nullptr;
}

void append(Words& words, const std::string& name, const std::string& word) {
    if (words.size() == kMaxElements)
        throw UserError(name + " has more than " + std::to_string(kMaxElements) + " elements");
    words.push_back(word);
}

bool isDigits(const std::string& text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

/// Collects the entries with usual names while YAML is parsed, and keeps nothing else of it: scalars, lists,
/// lists of lists, and such as the "data" of a map.
class YamlEntries : public YAML::EventHandler {
public:
    Cameras take() { return std::move(cameras_); }

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
        if (isInEntry()) throw UserError(entryName() + " contains an alias, expected its value");
        endNode({});
    }
    void OnScalar(const Mark&, const std::string&, Anchor, const std::string& value) override {
        if (isInEntry()) append(*entry_, entryName(), value);
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
        if (levels_.size() == entryDepth()) entry_ = isKey ? start(text) : nullptr;
    }

    Words* start(const std::string& key) {
        if (levels_.size() == 1) return startEntry(cameras_, key);
        const std::string plain = plainName(key);
        if (!isUsual(plain)) return nullptr;
        Words& words = cameras_[levels_[0].key][plain];
        words.clear();
        return &words;
    }

    /// How many maps are around an entry: the document, and in a camchain the camera's.
    size_t entryDepth() const {
        const bool isInCamera = levels_.size() > 1 && levels_[1].isMap &&
                                levels_[0].key.substr(0, 3) == "cam" && isDigits(levels_[0].key.substr(3));
        return isInCamera ? 2 : 1;
    }

    const std::string& entryName() const { return levels_[entryDepth() - 1].key; }

    /// Whether a scalar here is one of an entry's.
    bool isInEntry() const {
        if (!entry_) return false;
        const size_t depth = entryDepth();
        const bool hasData = levels_.size() > depth && levels_[depth].isMap && levels_[depth].key == "data";
        const auto lists = levels_.begin() + static_cast<std::ptrdiff_t>(depth + hasData);
        return levels_.end() - lists <= 2 &&
               std::none_of(lists, levels_.end(), [](const Level& level) { return level.isMap; });
    }

    Cameras cameras_;
    Words* entry_ = nullptr;  ///< whose key was the last at its depth
    std::vector<Level> levels_;
};

Cameras parseYaml(const std::string& text) {
    std::istringstream stream(text);
    YamlEntries entries;
    YAML::Parser(stream).HandleNextDocument(entries);
    return entries.take();
}

Cameras parseXml(const std::string& text) {
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_string(text.c_str());
    if (!result) {
        throw UserError(std::string(result.description()) + " at byte " + std::to_string(result.offset));
    }
    Cameras cameras;
    for (const pugi::xml_node entry : document.document_element().children()) {
        Words* values = startEntry(cameras, entry.name());
        if (!values) continue;
        const pugi::xml_node data = entry.child("data");
        std::istringstream words((data ? data : entry).text().get());
        for (std::string word; words >> word;) append(*values, entry.name(), word);
    }
    return cameras;
}

/// The first line that is not empty and no comment.
std::string firstLine(const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line) && (plainName(line).empty() || line[0] == '#')) {
    }
    return line;
}

bool isColmap(const std::string& text) {
    std::istringstream words(firstLine(text));
    std::string id, model;
    words >> id >> model;
    return isDigits(id) && !model.empty() && std::isupper(static_cast<unsigned char>(model[0]));
}

Cameras parseColmap(const std::string& text) {
    Cameras cameras;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string id;
        if (!(words >> id) || id[0] == '#') continue;
        if (!isDigits(id)) throw UserError("camera '" + id.substr(0, 40) + "', expected a number");
        Words& values = cameras[id][kColmapLine];
        values.clear();
        for (std::string word; words >> word;) append(values, "camera " + id, word);
    }
    return cameras;
}

Cameras readCameras(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path, kMaxTextBytes);
    const std::string text(bytes.begin(), bytes.end());
    const size_t start = text.find_first_not_of(" \t\r\n");
    try {
        if (start != std::string::npos && text[start] == '<') return parseXml(text);
        return isColmap(text) ? parseColmap(text) : parseYaml(text);
    } catch (const std::exception& error) {
        throw UserError(path + ": not a calibration in YAML or XML: " + error.what());
    }
}

bool hasAny(const Entries& entries, const Words& names) {
    return std::any_of(names.begin(), names.end(),
                       [&](const std::string& name) { return entries.count(plainName(name)) != 0; });
}

std::string listOf(const Cameras& cameras) {
    std::string list;
    size_t count = 0;
    for (const auto& camera : cameras) {
        if (camera.first.empty()) continue;
        if (count++ == kMaxListed) return list + ", ...";
        list += (list.empty() ? "" : ", ") + camera.first;
    }
    return list;
}

/// The name under which the camera that the user wants has its entries.
std::string chooseCamera(const Cameras& cameras, const std::string& wanted, const std::string& path) {
    const std::string list = listOf(cameras);
    if (wanted.empty()) {
        const auto plain = cameras.find({});
        if (list.empty() || (plain != cameras.end() && hasAny(plain->second, kCameraNames))) return {};
        if (list.find(',') == std::string::npos) return list;
        throw UserError(path + ": has cameras " + list + "; --camera chooses one");
    }
    const std::string side = wanted == "1" ? kLeft : wanted == "2" ? kRight : wanted;
    for (const std::string& name : {wanted, "cam" + wanted, side}) {
        if (cameras.count(name)) return name;
    }
    throw UserError("--camera " + wanted + ": " + path + " has " +
                    (list.empty() ? "one camera, without a name" : "cameras " + list));
}

/// The short names of a ROS message, which has both, mean other things elsewhere.
void dropLoneShortNames(Entries& entries) {
    if (entries.count("r") && entries.count("p")) return;
    entries.erase("r");
    entries.erase("p");
}

/// What a file says of all its cameras, or of the only one that has a camera matrix.
void addShared(Entries& entries, const Entries& shared) {
    const std::set<std::string> views = plainNames({&kRectificationNames, &kProjectionNames});
    const std::set<std::string> lens = plainNames({&kCameraNames, &kDistortionNames});
    const bool hasCamera = hasAny(entries, kCameraNames);
    for (const auto& [name, words] : shared) {
        if (views.count(name) == 0 && !(hasCamera && lens.count(name) != 0)) entries.insert({name, words});
    }
}

struct ColmapModel {
    const char* name;
    size_t focalLengths;
    size_t coefficients;  ///< in OpenCV's order
    bool isFisheye = false;
};

constexpr ColmapModel kColmapModels[] = {{"SIMPLE_PINHOLE", 1, 0}, {"PINHOLE", 2, 0},
                                         {"SIMPLE_RADIAL", 1, 1},  {"RADIAL", 1, 2},
                                         {"OPENCV", 2, 4},         {"OPENCV_FISHEYE", 2, 4, true},
                                         {"FULL_OPENCV", 2, 8}};

const ColmapModel& colmapModel(const std::string& name) {
    std::string names;
    for (const ColmapModel& model : kColmapModels) {
        if (name == model.name) return model;
        names += (names.empty() ? "" : ", ") + std::string(model.name);
    }
    throw UserError("model '" + name.substr(0, 40) + "', expected one of " + names);
}

/// The entries that a line of COLMAP's stands for.
Entries entriesOf(const Words& line) {
    constexpr size_t kBeforeParameters = 3;
    const ColmapModel& model = colmapModel(line.empty() ? std::string() : line[0]);
    const size_t count = model.focalLengths + 2 + model.coefficients;
    if (line.size() != kBeforeParameters + count) {
        throw UserError("model " + line[0] + " with " + std::to_string(line.size() - 1) +
                        " numbers, expected width, height and " + std::to_string(count) + " parameters");
    }
    const auto parameters = line.begin() + kBeforeParameters;
    const auto principal = parameters + static_cast<std::ptrdiff_t>(model.focalLengths);
    Words coefficients(principal + 2, line.end());
    coefficients.resize(std::max<size_t>(coefficients.size(), 4), "0");
    return {{plainName(kSizeNames[0]), {line[1], line[2]}},
            {plainName(kCameraNames[0]), {parameters[0], principal[-1], principal[0], principal[1]}},
            {plainName(kDistortionNames[0]), coefficients},
            {plainName(kModelNames[0]), {model.isFisheye ? "fisheye" : "plumb_bob"}}};
}

}  // namespace

std::string plainName(const std::string& name) {
    std::string plain;
    for (const char letter : name) {
        const auto c = static_cast<unsigned char>(letter);
        if (std::isalnum(c)) plain += static_cast<char>(std::tolower(c));
    }
    return plain;
}

CalibrationText::CalibrationText(const std::string& path, const std::string& extrinsics,
                                 const std::string& camera)
    : name_(path) {
    Cameras cameras = readCameras(path);
    if (!extrinsics.empty()) {
        for (auto& [name, entries] : readCameras(extrinsics)) cameras[name].merge(entries);
        name_ += " with " + extrinsics;
    }
    const std::string chosen = chooseCamera(cameras, camera, name_);
    entries_ = cameras[chosen];
    isOfPair_ = chosen == kLeft || chosen == kRight;
    if (chosen.empty()) {
        dropLoneShortNames(entries_);
        return;
    }
    name_ += ": camera " + chosen;
    addShared(entries_, cameras[{}]);
    if (const auto line = entries_.find(kColmapLine); line != entries_.end()) {
        firstCentre_ = 0.5;
        try {
            entries_ = entriesOf(Words(line->second));
        } catch (const UserError& error) {
            throw UserError(name_ + ": " + error.what());
        }
    }
}

const Words* CalibrationText::find(const Words& names) const {
    for (const std::string& name : names) {
        const auto found = entries_.find(plainName(name));
        if (found != entries_.end()) return &found->second;
    }
    return nullptr;
}

std::vector<double> CalibrationText::numbers(const Words& names) const {
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

void CalibrationText::fail(const std::string& problem, const Words& names) const {
    std::string others;
    for (size_t i = 1; i < names.size(); ++i) others += (i > 1 ? ", " : " (or ") + names[i];
    throw UserError(name_ + ": " + names[0] + (others.empty() ? "" : others + ")") + " " + problem);
}

}  // namespace vantor::tool
