// vantor replay: runs a recorded request again, and compares the results.
#include <algorithm>
#include <filesystem>
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/io/grid_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/library/build_facts.h"
#include "tools/vantor/library/hardware_service.h"
#include "tools/vantor/library/record_file.h"
#include "tools/vantor/picture/difference.h"
#include "tools/vantor/picture/picture_hash.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

struct ReplayCommand {
    std::string file;
    std::string source;
    FileOptions fileOptions{"--input", {}, {}};
    std::string directory;  ///< for what is saved; empty: nothing is
    bool json = false;
};

/// Writes what a record holds as files that the tool reads.
class Saver {
public:
    explicit Saver(const ReplayCommand& command) : command_(command) {
        if (isWanted()) makeDirectory("--save " + command.directory, command.directory);
    }

    /// As NAME_WIDTHxHEIGHT with the format as its extension. Nothing of a picture of which the record has
    /// the hash alone.
    void save(const std::string& name, PixelFormat format, Size size, const std::vector<uint8_t>& planes) {
        if (!isWanted() || planes.empty()) return;
        writeFile(newFile(name + "_" + toString(size) + "." + toString(format)), planes);
    }
    void save(const Request& request) {
        if (isWanted() && request.operation == Request::Operation::GdcGrid)
            writeGrid(newFile("warp.grid"), request.grid, {});
    }

    const std::vector<std::string>& files() const { return files_; }

private:
    bool isWanted() const { return !command_.directory.empty(); }

    const std::string& newFile(const std::string& name) {
        files_.push_back((std::filesystem::path(command_.directory) / name).string());
        expectOtherFile("--save", files_.back(), {command_.file, command_.source});
        return files_.back();
    }

    const ReplayCommand& command_;
    std::vector<std::string> files_;
};

/// The outcome of a request, when it was recorded or now.
struct RunEnd {
    std::optional<RequestResult> requestResult;
    std::string hash;  ///< empty if no picture was made

    bool operator==(const RunEnd& other) const {
        const bool hasSameEnd = requestResult.has_value() == other.requestResult.has_value() &&
                                (!requestResult || requestResult->status == other.requestResult->status);
        return hasSameEnd && hash == other.hash;
    }
};

std::string hashOf(Picture& picture) {
    PictureHash hash;
    hash.add(picture.bytes.data(), picture.bytes.size());
    return hash.text();
}

/// The recorded source, from the record or from the file that the user gives for it.
Picture sourceOf(const ReplayCommand& command, Record& record) {
    const RecordedPicture& recorded = record.source;
    const std::string what = toString(recorded.size) + " " + toString(record.format) + " picture";
    if (command.source.empty()) {
        if (recorded.planes.empty()) {
            throw UserError(command.file + ": the record has only the hash of its source, a " + what +
                            ": expected --source");
        }
        return {record.format, recorded.size, std::move(record.source.planes)};
    }
    Picture given = readPicture(inputSpec(command.source, command.fileOptions));
    if (given.size.width > recorded.size.width || given.size.height > recorded.size.height) {
        throw UserError("--source " + command.source + " " + toString(given.size) + ": the record's is a " +
                        what);
    }
    Picture source = makePicture(record.format, recorded.size);
    toWorking(planesOf(given), planesOf(source), {});
    if (hashOf(source) != recorded.hash) {
        throw UserError("--source " + command.source + ": as a " + what + " it has the hash " +
                        hashOf(source) + ", the record's source has " + recorded.hash);
    }
    return source;
}

/// Has a request that was recorded in software run on the hardware backend.
void moveToHardware(Record& record) {
    Request& request = record.request;
    if (request.operation == Request::Operation::InterpBicubic) {
        request.operation = Request::Operation::Csc;
        record.source.region = fullRegion(record.source.size);  // which scaling in software does not look at
        record.result.region = fullRegion(record.result.size);
    }
    if (request.isWarp()) request.target = hardware::GDC_HW;
}

/// The request, run again. `made` is as large as the recorded destination.
RequestResult runAgain(const Record& record, const Picture& source, Picture& made) {
    WorkingMemory from(record.format, source.size, record.request.backend());
    WorkingMemory to(record.format, made.size, record.request.backend());
    std::copy(source.bytes.begin(), source.bytes.end(), from.bytes());
    WorkingPicture src = from.picture();
    WorkingPicture dst = to.picture();
    src.region = record.source.region;
    dst.region = record.result.region;
    RequestResult result = ask(record.request, dst, src);
    std::copy_n(to.bytes(), made.bytes.size(), made.bytes.begin());
    return result;
}

std::string describe(const Record& record) {
    const Request& request = record.request;
    return std::string(toString(request.operation)) +
           (request.isWarp() ? std::string(" on ") + targetName(request.target) : "") + ", " +
           toString(record.source.size) + " to " + toString(record.result.size) + " " +
           toString(record.format);
}

/// The beginning of a text from a file, which may be long.
std::string shortened(const std::string& text) {
    return text.substr(0, 200);
}

std::string describe(const RunEnd& end) {
    if (!end.requestResult) return "the request did not complete";
    return "status " + std::to_string(end.requestResult->status) +
           (end.hash.empty() ? "" : ", hash " + end.hash) +
           (end.requestResult->error.empty() ? "" : " (" + shortened(end.requestResult->error) + ")");
}

Json toJson(const RunEnd& end) {
    if (!end.requestResult) return {};
    return {{"status", end.requestResult->status},
            {"error", end.requestResult->error},
            {"hash", end.hash.empty() ? Json() : Json(end.hash)}};
}

/// The version and machine that made something, in short.
std::string nameOf(const Json& facts) {
    std::string name;
    for (const char* key : {"tool", "built_for", "processor", "VANTOR_CPU"}) {
        if (!facts.is_object() || !facts.contains(key) || !facts[key].is_string()) continue;
        name += (name.empty() ? "vantor " : ", ") + shortened(facts[key]);
    }
    return name.empty() ? "somebody" : name;
}

int run(const ReplayCommand& command) {
    Record record = readRecord(command.file);
    Saver saver(command);
    saver.save("source", record.format, record.source.size, record.source.planes);
    saver.save("result", record.format, record.result.size, record.result.planes);
    saver.save(record.request);
    if (isServiceGiven()) moveToHardware(record);
    const Picture source = sourceOf(command, record);
    Picture made = makePicture(record.format, record.result.size);
    const RunEnd recorded{record.requestResult, record.result.hash};
    RunEnd here{runAgain(record, source, made), {}};
    if (here.requestResult->isMade) {
        here.hash = hashOf(made);
        saver.save("replayed", record.format, made.size, made.bytes);
    }
    const bool isSame = here == recorded;
    std::vector<Difference> differences;
    if (!isSame && here.requestResult->isMade && !record.result.planes.empty()) {
        differences = measure({record.format, made.size, std::move(record.result.planes)}, made);
    }

    if (command.json) {
        Json json{{"record", command.file},      {"verdict", isSame ? "same" : "different"},
                  {"request", describe(record)}, {"recorded", toJson(recorded)},
                  {"here", toJson(here)},        {"recorded_by", record.madeBy},
                  {"replayed_by", buildFacts()}};
        if (!differences.empty()) json["components"] = tool::toJson(differences);
        if (!saver.files().empty()) json["saved"] = saver.files();
        printDocument(json);
    } else {
        printLine("%s: %s", command.file.c_str(), describe(record).c_str());
        printLine("recorded: %s; by %s", describe(recorded).c_str(), nameOf(record.madeBy).c_str());
        printLine("here:     %s; by %s", describe(here).c_str(), nameOf(buildFacts()).c_str());
        print(differences);
        for (const std::string& file : saver.files()) printLine("saved: %s", file.c_str());
        printLine(isSame ? "same" : "different");
    }
    return isSame ? kDone : kDifferent;
}

}  // namespace

void addReplay(CLI::App& app, Run& run) {
    auto options = std::make_shared<ReplayCommand>();
    CLI::App* command = app.add_subcommand("replay", "Run a recorded request again, and compare the results");
    command->add_option("FILE", options->file, "Record made by vantor record")->type_name("")->required();
    command
        ->add_option("--source", options->source,
                     "Source picture of the request, for records with hashes only")
        ->type_name("FILE");
    command
        ->add_option(
            "--save", options->directory,
            "Write the record's source and result, its grid, and the new result to files in this directory")
        ->type_name("DIR");
    addServiceOption(*command);
    addFileOptions(*command, options->fileOptions);
    command->add_flag("--json", options->json, "Print the result as JSON");
    command->footer(
        "Exit status: 0 same status and bytes, 1 different, 2 error.\n"
        "With --service, requests that were recorded in software are run on that service.\n"
        "Where pictures differ, \"first at (column, row)\" is followed by the recorded and the new sample.\n"
        "Examples:\n"
        "  vantor replay bug.vrec\n"
        "  VANTOR_CPU=plain vantor replay bug.vrec --json\n"
        "  vantor replay hashes.vrec --source photo.png\n"
        "  vantor replay bug.vrec --save made/");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
