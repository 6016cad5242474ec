// vantor info: what a bug report needs to say about this build and this machine.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "gdc_model/warp_kernels.h"
#include "processor/instruction_set.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_pairs_kernels.h"
#include "scaler/interp4_kernels.h"
#include "tools/vantor/commands.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/error.h"

namespace vantor::tool {
namespace {

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(": ");
        if (line.rfind("model name", 0) == 0 && colon != std::string::npos) return line.substr(colon + 2);
    }
    return "unknown";
}

std::string processorSets() {
    std::string names;
    for (InstructionSet set : kInstructionSets) {
        if (processorHas(set)) names += std::string(names.empty() ? "" : ", ") + instructionSetName(set);
    }
    return names;
}

template <typename Kernels, int Count>
void printFamily(const char* name, const Kernels* const (&tables)[Count]) {
    std::string compiled;
    for (const Kernels* table : tables) {
        compiled += std::string(compiled.empty() ? "" : ", ") + instructionSetName(table->set);
    }
    std::printf("  %-16s compiled %s; in use %s\n", name, compiled.c_str(),
                instructionSetName(bestTable(tables).set));
}

void printVariable(const char* name) {
    const char* value = std::getenv(name);
    std::printf("%s: %s\n", name, value ? value : "not set");
}

int describePicture(const std::string& path, const FormOptions& form) {
    const std::unique_ptr<ClipReader> clip = openClip(fileForm(path, form));
    uintmax_t frames = 0;
    while (clip->skip()) ++frames;
    std::printf("%s %s, %ju %s\n", toString(clip->shape().size).c_str(), toString(clip->shape().layout),
                frames, frames == 1 ? "frame" : "frames");
    return kDone;
}

int describeBuild() {
    std::printf("vantor %s, library built in\n", VANTOR_VERSION);
    std::printf("built for: %s, by %s\n", VANTOR_TARGET, VANTOR_COMPILER);
    std::printf("processor: %s\n", processorName().c_str());
    std::printf("instruction sets of the processor: %s\n", processorSets().c_str());
    std::printf("kernels:\n");
    printFamily("bicubic luma", kLumaTables);
    printFamily("bilinear chroma", kCutPairsTables);
    printFamily("four-tap luma", kFourTapTables);
    printFamily("four-tap chroma", kRoundedPairsTables);
    printFamily("warp", kWarpTables);
    printVariable("VANTOR_CPU");
    printVariable("VANTOR_LOG");
    std::printf("limits: pictures of %dx%d to %dx%d, 8 bits a sample; colour in even sizes\n", kSmallestSide,
                kSmallestSide, kLargestSide, kLargestSide);
    std::printf("RGB conversion: %s, unless chosen\n", toString(YuvColor()));
    return kDone;
}

}  // namespace

void addInfo(CLI::App& app, Run& run) {
    struct InfoOptions {
        std::string picture;
        FormOptions form{"--input", {}, {}};
    };
    auto options = std::make_shared<InfoOptions>();
    CLI::App* command =
        app.add_subcommand("info", "Describe this build and machine, for a bug report, or a picture");
    command->add_option("PICTURE", options->picture, "Picture to describe by size and layout instead");
    addFormOptions(*command, options->form);
    command->callback([options, &run] {
        run = [options] {
            return options->picture.empty() ? describeBuild()
                                            : describePicture(options->picture, options->form);
        };
    });
}

}  // namespace vantor::tool
