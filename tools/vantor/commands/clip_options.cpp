#include "tools/vantor/commands/clip_options.h"

#include <map>
#include <string>

#include "tools/vantor/commands/completion.h"
#include "tools/vantor/commands/file_options.h"

namespace vantor::tool {
namespace {

/// Has an option accept the keys of `words`, and replace each by its value.
void takeOneOf(CLI::Option* option, const std::map<std::string, std::string>& words) {
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
    option->transform(CLI::Validator(translate, ""));
    std::string keys;
    for (const auto& [word, meaning] : words) keys += word + " ";
    offerWords(option, keys);
}

}  // namespace

void addClipOptions(CLI::App& command, MakeOptions& many) {
    ClipOptions& options = many.clip;
    command
        .add_option("IN", many.inputs,
                    std::string("Pictures or clips, several with -o DIR/ or a pattern: ") + kPictureFiles)
        ->type_name("FILE")
        ->required();
    command
        .add_option(
            "-o,--output", many.output,
            "Result file; its extension selects the type; - is standard output. For several inputs, DIR/, "
            "in which results have the inputs' names, or a pattern such as out_%03d.png, which numbers them "
            "from 1")
        ->type_name("FILE")
        ->required();
    command.add_flag("--overwrite-input", options.overwriteInput, "Allow the result to replace the input");
    addFileOptions(command, options.inputOptions, options.outputOptions);
    const auto add = [&](const char* group, const char* name, auto& value, const char* type,
                         const char* text) {
        return command.add_option(name, value, text)->type_name(type)->group(group);
    };
    addFrameRangeOptions(command, options.part);
    addJobsOption(command, options.jobs, "on a file or frame each or all on a single one");
    command.add_flag("--skip-existing", many.skipExisting, "Skip inputs whose result exists");
    command
        .add_option(
            "--png-level", options.pngLevel,
            "Compress PNG results by zlib's level N, 0 to 9; if not given, fast, to nearly the size of "
            "level 6")
        ->type_name("N")
        ->check(CLI::Range(0, 9).description(""));
    add("Clips", "--times", options.timesFile, "FILE",
        "Write each frame's number and its time in the library, in milliseconds, to FILE; with --hash also "
        "its "
        "hash");
    command
        .add_flag("--hash", options.hash,
                  "Print the result's XXH64 hash, which for a raw file without padding is that of xxh64sum")
        ->group("Verification");
    add("Verification", "--verify", options.verify, "HASH",
        "Exit with status 1 unless the result has this hash");
    command.add_flag("--json", options.json, "Print a report, with times, as JSON")->group("Verification");
    takeOneOf(add("RGB", "--yuv-matrix", options.matrix, "MATRIX",
                  "Matrix between RGB and YUV: 601 (default) or 709; bt601 and bt709 are synonyms"),
              {{"601", "601"}, {"709", "709"}, {"bt601", "601"}, {"bt709", "709"}});
    takeOneOf(
        add("RGB", "--yuv-range", options.range, "RANGE",
            "Range of YUV: limited or full; by default that of a JPEG or of a Y4M header, else limited; "
            "tv and pc are synonyms"),
        {{"limited", "limited"}, {"full", "full"}, {"tv", "limited"}, {"pc", "full"}});
}

namespace {

/// Frame counts: CLI11 itself would accept them modulo 2^64.
CLI::Validator framesFrom(uintmax_t minimum) {
    const auto check = [minimum](const std::string& text) {
        const bool isNumber = text.find_first_not_of("0123456789") == std::string::npos && text.size() < 19;
        return isNumber && std::stoull("0" + text) >= minimum
                   ? std::string()
                   : text + ": expected a number of frames, " + std::to_string(minimum) + " or more";
    };
    return CLI::Validator(check, "");
}

}  // namespace

void addJobsOption(CLI::App& command, size_t& jobs, const std::string& use) {
    command.add_option("--jobs", jobs, "Use N threads, 1 to 256, " + use + "; one per CPU if not given")
        ->type_name("N")
        ->check(CLI::Range(size_t{1}, kMaxJobs).description(""))
        ->group("Clips");
}

void addFrameRangeOptions(CLI::App& command, FrameRange& range) {
    command.add_option("--skip", range.skip, "Skip the first N frames")
        ->type_name("N")
        ->check(framesFrom(0))
        ->group("Clips");
    command.add_option("--limit", range.limit, "Process at most N frames")
        ->type_name("N")
        ->check(framesFrom(1))
        ->group("Clips");
}

}  // namespace vantor::tool
