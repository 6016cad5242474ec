// vantor info: what a bug report needs to say about this build and this machine; or what a picture is.
#include <memory>
#include <string>

#include "tools/vantor/base/error.h"
#include "tools/vantor/base/json.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/commands/commands.h"
#include "tools/vantor/commands/file_options.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/library/build_facts.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

struct InfoOptions {
    std::string picture;
    FileOptions fileOptions{"--input", {}, {}};
    bool json = false;
};

std::string text(const Json& value) {
    return value.is_null() ? "not set" : value.get<std::string>();
}

void describePicture(const InfoOptions& options) {
    const std::unique_ptr<ClipReader> clip = openClip(inputSpec(options.picture, options.fileOptions));
    const FrameShape& shape = clip->shape();
    uintmax_t frames = 0;
    while (clip->skip()) ++frames;
    if (options.json) {
        return printDocument({{"picture", options.picture},
                              {"size", {shape.size.width, shape.size.height}},
                              {"layout", toString(shape.format)},
                              {"frames", frames}});
    }
    printLine("%s %s, %ju %s", toString(shape.size).c_str(), toString(shape.format), frames,
              frames == 1 ? "frame" : "frames");
}

void describeBuild(const InfoOptions& options) {
    Json facts = buildFacts();
    facts["limits"] = {{"smallest_side", kMinSide}, {"largest_side", kMaxSide}};
    if (options.json) return printDocument(facts);
    printLine("vantor %s, library built in", text(facts["tool"]).c_str());
    printLine("built for: %s, by %s", text(facts["built_for"]).c_str(), text(facts["compiler"]).c_str());
    printLine("CPU: %s", text(facts["processor"]).c_str());
    printLine("CPU instruction sets: %s", joinWords(facts["instruction_sets"]).c_str());
    printKernels(facts["kernels"]);
    for (const char* name : {"VANTOR_CPU", "VANTOR_LOG"}) {
        printLine("%s: %s", name, text(facts[name]).c_str());
    }
    printLine("limits: pictures of %dx%d to %dx%d, 8 bits per sample; colour in even sizes", kMinSide,
              kMinSide, kMaxSide, kMaxSide);
    printLine("RGB conversion: %s by default", toString(YuvColor()));
}

int run(const InfoOptions& options) {
    options.picture.empty() ? describeBuild(options) : describePicture(options);
    return kDone;
}

}  // namespace

void addInfo(CLI::App& app, Run& run) {
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command = app.add_subcommand(
        "info", "Describe this build and machine, as bug reports need it, or a picture file");
    command->add_option("PICTURE", options->picture, "Picture or clip to describe instead")
        ->type_name("FILE");
    addFileOptions(*command, options->fileOptions);
    command->add_flag("--json", options->json, "Print the description as JSON");
    command->footer(
        "Examples:\n"
        "  vantor info\n"
        "  vantor info clip.y4m\n"
        "  vantor info dump.bin --input-size 1920x1080 --input-format nv21 --input-stride 2048 \\\n"
        "      --input-slice-height 1088 --json");
    command->callback([options, &run] { run = [options] { return tool::run(*options); }; });
}

}  // namespace vantor::tool
