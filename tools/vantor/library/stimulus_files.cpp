#include "tools/vantor/library/stimulus_files.h"

#include <cstring>
#include <filesystem>

#include "published/hashes.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/picture_file.h"
#include "tools/vantor/library/engine.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;
using verification::Stimulus;
using verification::StimulusPicture;
using verification::StimulusRequest;

constexpr char kManifest[] = "/manifest.json";

std::string pictureName(const char* kind, size_t index, Size size) {
    return kind + std::to_string(index) + "_" + toString(size) + ".nv12";
}

std::string gridName(int index) {
    return "grid" + std::to_string(index) + ".grid";
}

Picture resultOf(Engine& engine, const Stimulus& stimulus, const StimulusRequest& request) {
    const StimulusPicture& source = stimulus.pictures[static_cast<size_t>(request.picture)];
    Picture from{PixelFormat::Nv12, source.size, source.bytes};
    Picture to = makePicture(PixelFormat::Nv12, request.target);
    const Request done =
        request.grid == StimulusRequest::kNone
            ? scalingRequest(Backend::Software)
            : warpingRequest(Backend::Software, stimulus.grids[static_cast<size_t>(request.grid)]);
    engine.run(planesOf(to), planesOf(from), done);
    return to;
}

Size sizeIn(const Json& json) {
    return {json.at(0).get<int>(), json.at(1).get<int>()};
}

/// The arguments with which verification/bench/pictures.sv does a request; it enlarges nothing.
std::string benchArguments(const std::string& input, Size from, const std::string& grid,
                           const std::string& result, Size to) {
    if (to.width > from.width || to.height > from.height) return {};
    const auto size = [](const char* prefix, Size of) {
        return " +" + std::string(prefix) + "width=" + std::to_string(of.width) + " +" + prefix +
               "height=" + std::to_string(of.height);
    };
    return "+source=" + input + size("", from) + " +expected=" + result +
           (grid.empty() ? size("to_", to) : " +grid=" + grid) + "\n";
}

}  // namespace

verification::Limits limitsFrom(const std::string& text) {
    if (text.empty()) return {};
    try {
        return verification::Limits::parse(text);
    } catch (const std::runtime_error& error) {
        throw UserError(std::string("--limits ") + error.what());
    }
}

void writeStimulus(const std::string& directory, const Stimulus& stimulus, uint32_t seed,
                   const std::string& limits) {
    makeDirectory(directory, directory);
    Json requests = Json::array();
    std::string arguments;
    for (size_t i = 0; i < stimulus.pictures.size(); ++i) {
        const StimulusPicture& picture = stimulus.pictures[i];
        writeFile(directory + "/" + pictureName("picture", i, picture.size), picture.bytes);
    }
    for (size_t i = 0; i < stimulus.grids.size(); ++i) {
        writeGrid(directory + "/" + gridName(static_cast<int>(i)), stimulus.grids[i], {});
    }
    Engine engine(1);
    for (size_t i = 0; i < stimulus.requests.size(); ++i) {
        const StimulusRequest& request = stimulus.requests[i];
        const std::string result = pictureName("result", i, request.target);
        writeFile(directory + "/" + result, resultOf(engine, stimulus, request).bytes);
        const Size size = stimulus.pictures[static_cast<size_t>(request.picture)].size;
        const std::string input = pictureName("picture", static_cast<size_t>(request.picture), size);
        const std::string grid = request.grid == StimulusRequest::kNone ? "" : gridName(request.grid);
        Json entry{{"input", input}};
        if (grid.empty()) {
            entry["size"] = {request.target.width, request.target.height};
        } else {
            entry["grid"] = grid;
        }
        entry["result"] = result;
        requests.push_back(entry);
        arguments += benchArguments(input, size, grid, result, request.target);
    }
    char hash[9];
    std::snprintf(hash, sizeof hash, "%08x", selftest::kHashOverAll);
    const Json manifest{
        {"model", vantor_version()},     {"selftest", hash},    {"seed", seed}, {"limits", limits},
        {"samples", stimulus.samples()}, {"requests", requests}};
    writeFile(directory + "/bench.txt", arguments);
    writeFile(directory + kManifest, toText(manifest, 1) + "\n");
}

bool isStimulus(const std::string& path) {
    std::error_code error;
    return std::filesystem::is_regular_file(path + kManifest, error);
}

void coverStimulus(verification::Coverage& coverage, const std::string& directory) {
    const std::string path = directory + kManifest;
    const std::vector<uint8_t> text = readFile(path, kMaxTextBytes);
    try {
        const Json manifest = Json::parse(text);
        for (const Json& entry : manifest.at("requests")) {
            const std::string input = directory + "/" + entry.at("input").get<std::string>();
            const Picture picture = readPicture(inputSpec(input, {"--input", {}, {}}));
            if (picture.format != PixelFormat::Nv12) throw UserError(input + ": expected NV12");
            const StimulusPicture source{picture.size, picture.bytes};
            if (entry.contains("grid")) {
                const std::string grid = directory + "/" + entry["grid"].get<std::string>();
                coverage.warped(source.view(), readGrid(grid), input + " --grid " + grid);
            } else {
                const Size target = sizeIn(entry.at("size"));
                checkLimits(path + ": size", target);
                coverage.scaled(source.view(), target, input + " --size " + toString(target));
            }
        }
    } catch (const Json::exception&) {
        throw UserError(path + ": not a manifest of stimulus");
    }
}

}  // namespace vantor::tool
