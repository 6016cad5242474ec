// vantor record: runs a scale or a warp, and records its request to the library and the result.
#include <algorithm>
#include <filesystem>
#include <memory>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/backend_option.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/library/build_facts.h"
#include "tools/vantor/library/record_file.h"

namespace vantor::tool {
namespace {

struct RecordCommand {
    std::string file;
    bool hashesOnly = false;
    std::vector<std::string> arguments;
};

RecordedPicture recorded(const WorkingPicture& picture, bool hashOnly) {
    RecordedPicture result = recordedPicture(picture.planes, picture.region);
    if (hashOnly) result.planes.clear();
    return result;
}

/// Writes the record before the request as well, so that a crash leaves it, too.
void record(const RecordCommand& command, const Request& request, const WorkingPicture& dst,
            const WorkingPicture& src, const RequestResult* result) {
    Record record{
        request, src.planes.format, recorded(src, command.hashesOnly), {dst.planes.size, dst.region, {}, {}},
        {},      buildFacts()};
    record.madeBy["arguments"] = command.arguments;
    if (result != nullptr) {
        record.requestResult = *result;
        if (result->isMade) record.result = recorded(dst, command.hashesOnly);
    }
    writeRecord(command.file, record);
    if (result != nullptr) {
        const std::string& hash = record.result.hash;
        summarize(command.file + ": " + std::to_string(std::filesystem::file_size(command.file)) + " bytes" +
                  (hash.empty() ? "" : ", the library's result has the hash " + hash) +
                  "; vantor replay runs it again");
    }
}

/// Where the value of "--option=value" begins, or of any other argument.
size_t valueAt(const std::string& argument) {
    const size_t sign = argument.compare(0, 2, "--") == 0 ? argument.find('=') : std::string::npos;
    return sign == std::string::npos ? 0 : sign + 1;
}

void checkFile(const RecordCommand& command) {
    std::error_code ignored;
    const std::filesystem::file_status status = std::filesystem::status(command.file, ignored);
    if (command.file == "-" || (exists(status) && !is_regular_file(status))) {
        throw UserError("FILE " + command.file +
                        ": expected a file: it is written before the request and after it");
    }
    std::vector<std::string> others;
    for (const std::string& argument : command.arguments)
        others.push_back(argument.substr(valueAt(argument)));
    others.erase(std::find(others.begin(), others.end(), command.file));
    expectOtherFile("FILE", command.file, others);
}

}  // namespace

void addRecord(CLI::App& app, Run& run, const std::vector<std::string>& arguments) {
    auto options = std::make_shared<RecordCommand>();
    options->arguments = arguments;
    CLI::App* command = app.add_subcommand(
        "record", "Run vantor scale or warp, and record the library's request and result in a file");
    command->add_option("FILE", options->file, "Record to write, such as bug.vrec")
        ->type_name("")
        ->required();
    command->add_flag("--hashes-only", options->hashesOnly,
                      "Store hashes instead of samples: replaying the record then takes the source picture");
    addServiceOption(*command);
    command->require_subcommand(1);
    const RequestWatch watch = [options](const Request& request, const WorkingPicture& dst,
                                         const WorkingPicture& src, const RequestResult* result) {
        if (result == nullptr) checkFile(*options);
        record(*options, request, dst, src, result);
    };
    addScale(*command, run, watch);
    addWarp(*command, run, watch);
    command->footer(
        "Put \"record FILE\" before the scale or warp command to be recorded, of a single picture or frame. "
        "A request\n"
        "that fails or crashes leaves a record, too. The exit status is that of the scale or warp command.\n"
        "Examples:\n"
        "  vantor record bug.vrec warp photo.png -o turned.png --rotate 10\n"
        "  vantor record bug.vrec scale clip.y4m -o small.y4m --size 50% --skip 20 --limit 1\n"
        "  vantor record --hashes-only bug.vrec scale photo.png -o small.png --size 640x480");
}

}  // namespace vantor::tool
