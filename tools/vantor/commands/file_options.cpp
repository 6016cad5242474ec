#include "tools/vantor/commands/file_options.h"

#include <algorithm>
#include <string>

#include "tools/vantor/commands/completion.h"
#include "tools/vantor/io/jpeg_file.h"

namespace vantor::tool {

/// The maximum stride and height keep a frame's bytes within 32 bits.
static void addRawOptions(CLI::App& command, FileOptions& options, const std::string& files,
                          const std::string& formats) {
    const CLI::Validator padded = CLI::Range(1, 2 * kMaxSide).description("");
    const auto add = [&](const char* name, auto& value, const char* type, const std::string& text) {
        return command.add_option(options.optionPrefix + name, value, text)
            ->type_name(type)
            ->group("Raw files");
    };
    std::string words = formats + " y4m";
    words.erase(std::remove(words.begin(), words.end(), ','), words.end());
    offerWords(add("-format", options.format, "FORMAT",
                   "Format of " + files + ": " + formats + " or y4m; overrides the file name"),
               words);
    add("-stride", options.stride, "BYTES", "Bytes per row of " + files + ", padding included, up to 32768")
        ->check(padded);
    add("-slice-height", options.sliceHeight, "ROWS",
        "Rows of the luma plane of " + files + ", padding included, up to 32768")
        ->check(padded);
}

static void addInputOptions(CLI::App& command, FileOptions& options, const std::string& file) {
    command
        .add_option(options.optionPrefix + "-size", options.size, "Size of " + file + ", if not in its name")
        ->type_name("WxH")
        ->group("Raw files");
    addRawOptions(command, options, file, "nv12, nv21, i420, gray, p010");
}

void addFileOptions(CLI::App& command, FileOptions& input) {
    addInputOptions(command, input, "the input");
}

void addFileOptions(CLI::App& command, FileOptions& input, FileOptions& output) {
    addFileOptions(command, input);
    addRawOptions(command, output, "the result", "nv12, nv21, i420, gray");
    addQualityOption(command, output);
}

void addQualityOption(CLI::App& command, FileOptions& output) {
    command
        .add_option(
            "--quality", output.quality,
            "Quality of a JPEG result, 1 to 100; " + std::to_string(kDefaultQuality) + " if not given")
        ->type_name("N")
        ->check(CLI::Range(1, 100).description(""));
}

void addFileOptions(CLI::App& command, PairOptions& pair) {
    addInputOptions(command, pair.first, "A");
    addInputOptions(command, pair.second, "B");
}

}  // namespace vantor::tool
