#include "tools/vantor/commands/file_options.h"

#include <string>

namespace vantor::tool {

/// The maximum stride and height keep a frame's bytes within 32 bits.
static void addRawOptions(CLI::App& command, FileOptions& options, const std::string& files) {
    const CLI::Validator padded = CLI::Range(1, 2 * kMaxSide).description("");
    const auto add = [&](const char* name, auto& value, const char* type, const std::string& text) {
        return command.add_option(options.optionPrefix + name, value, text)
            ->type_name(type)
            ->group("Raw files");
    };
    add("-format", options.format, "FORMAT",
        "Format of " + files + ": nv12, nv21, i420, gray or y4m; overrides the file name");
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
    addRawOptions(command, options, file);
}

void addFileOptions(CLI::App& command, FileOptions& input) {
    addInputOptions(command, input, "the input");
}

void addFileOptions(CLI::App& command, FileOptions& input, FileOptions& output) {
    addFileOptions(command, input);
    addRawOptions(command, output, "the result");
}

void addFileOptions(CLI::App& command, PairOptions& pair) {
    addInputOptions(command, pair.first, "A");
    addInputOptions(command, pair.second, "B");
}

}  // namespace vantor::tool
