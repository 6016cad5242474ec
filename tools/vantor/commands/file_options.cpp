#include "tools/vantor/commands/file_options.h"

#include <string>

namespace vantor::tool {

/// The largest stride and height keep a frame's bytes within 32 bits.
static void addRawOptions(CLI::App& command, FileOptions& fileSpec, const std::string& files) {
    const CLI::Range padded(1, 2 * kMaxSide);
    const auto add = [&](const char* name, auto& value, const std::string& text) {
        return command.add_option(fileSpec.optionPrefix + name, value, text)->group("Raw files");
    };
    add("-format", fileSpec.format,
        "Format of " + files + ": nv12, nv21, i420 or gray; or y4m, whatever the name says");
    add("-stride", fileSpec.stride, "Bytes from one row of " + files + " to the next")->check(padded);
    add("-slice-height", fileSpec.sliceHeight, "Rows from the luma plane of " + files + " to the chroma")
        ->check(padded);
}

static void addInputOptions(CLI::App& command, FileOptions& fileSpec, const std::string& file) {
    command
        .add_option(fileSpec.optionPrefix + "-size", fileSpec.size,
                    "Size of " + file + ", if its name does not say it")
        ->group("Raw files");
    addRawOptions(command, fileSpec, file);
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
