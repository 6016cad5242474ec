#include "tools/vantor/commands/clip_options.h"

#include <map>
#include <string>

#include "tools/vantor/commands/file_options.h"

namespace vantor::tool {
namespace {

/// Words, each with the one that it stands for.
CLI::Validator oneOf(const std::string& name, const std::map<std::string, std::string>& words) {
    const auto translate = [words](std::string& text) {
        const auto found = words.find(text);
        if (found == words.end()) {
            std::string expected;
            for (const auto& [word, meaning] : words) expected += (expected.empty() ? "" : ", ") + word;
            return text + ": expected one of " + expected;
        }
        text = found->second;
        return std::string();
    };
    return CLI::Validator(translate, name);
}

}  // namespace

void addClipOptions(CLI::App& command, ClipOptions& options) {
    command.add_option("IN", options.input, std::string("Picture or clip: ") + kPictureFiles)->required();
    command.add_option("-o,--output", options.output, "Result; its name says the file type; - is a pipe")
        ->required();
    command.add_flag("--overwrite-input", options.overwriteInput, "The result may replace the input");
    addFileOptions(command, options.inputOptions, options.outputOptions);
    const auto add = [&](const char* group, const char* name, auto& value, const char* text) {
        return command.add_option(name, value, text)->group(group);
    };
    addFrameRangeOptions(command, options.part);
    add("Clips", "--jobs", options.jobs, "Frames worked on at a time, if not as many as there are processors")
        ->check(CLI::Range(size_t{1}, kMaxJobs));
    add("Clips", "--times", options.timesFile,
        "Write each frame's number and milliseconds in the library to this file");
    command.add_flag("--hash", options.hash, "Say the result's hash: what xxh64sum says of a raw file")
        ->group("Evidence");
    add("Evidence", "--verify", options.verify, "Exit with status 1 if the result has another hash");
    command.add_flag("--json", options.json, "Write what was done, and in which time, as JSON")
        ->group("Evidence");
    add("RGB", "--yuv-matrix", options.matrix,
        "Matrix between RGB and YUV: 601 (if not given) or 709; bt601 and bt709 are the same")
        ->transform(oneOf("MATRIX", {{"601", "601"}, {"709", "709"}, {"bt601", "601"}, {"bt709", "709"}}));
    add("RGB", "--yuv-range", options.range,
        "Range of the YUV: limited or full (if not given: what a Y4M file says, or else limited); tv and pc "
        "are the same")
        ->transform(
            oneOf("RANGE", {{"limited", "limited"}, {"full", "full"}, {"tv", "limited"}, {"pc", "full"}}));
}

namespace {

/// Numbers of frames, which CLI11 would take modulo 2^64.
CLI::Validator framesFrom(uintmax_t minimum) {
    const auto check = [minimum](const std::string& text) {
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos && text.size() < 19;
        return isNumber && std::stoull("0" + text) >= minimum
                   ? std::string()
                   : text + ": expected a number of frames, " + std::to_string(minimum) + " or more";
    };
    return CLI::Validator(check, "FRAMES");
}

}  // namespace

void addFrameRangeOptions(CLI::App& command, FrameRange& range) {
    command.add_option("--skip", range.skip, "Leave out this many frames at the beginning")
        ->check(framesFrom(0))
        ->group("Clips");
    command.add_option("--limit", range.limit, "Take at most this many frames")
        ->check(framesFrom(1))
        ->group("Clips");
}

}  // namespace vantor::tool
