#include "tools/vantor/library/build_facts.h"

#include <cstdlib>
#include <fstream>
#include <string>

#include "gdc_model/warp_kernels.h"
#include "processor/instruction_set.h"
#include "scaler/bicubic_luma_kernels.h"
#include "scaler/bilinear_chroma_kernels.h"
#include "scaler/interp4_kernels.h"
#include "tools/vantor/base/terminal.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;

std::string cpuName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);) {
        const size_t colon = line.find(": ");
        if (line.rfind("model name", 0) == 0 && colon != std::string::npos) return line.substr(colon + 2);
    }
    return "unknown";
}

Json cpuInstructionSets() {
    Json names = Json::array();
    for (InstructionSet set : kInstructionSets) {
        if (cpuHas(set)) names.push_back(instructionSetName(set));
    }
    return names;
}

template <typename Kernels, int Count>
Json family(const Kernels* const (&tables)[Count]) {
    Json compiled = Json::array();
    for (const Kernels* table : tables) compiled.push_back(instructionSetName(table->set));
    return {{"compiled", compiled}, {"in_use", instructionSetName(bestTable(tables).set)}};
}

Json variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? Json(value) : Json();
}

}  // namespace

Json buildFacts() {
    return {{"tool", VANTOR_VERSION},
            {"library", VANTOR_VERSION},
            {"built_for", VANTOR_TARGET},
            {"compiler", VANTOR_COMPILER},
            {"processor", cpuName()},
            {"instruction_sets", cpuInstructionSets()},
            {"kernels",
             {{"bicubic luma", family(kBicubicLumaTables)},
              {"bilinear chroma", family(kBilinearChromaTruncatedTables)},
              {"interp4 luma", family(kInterp4Tables)},
              {"interp4 chroma", family(kBilinearChromaRoundedTables)},
              {"warp", family(kWarpTables)}}},
            {"VANTOR_CPU", variable("VANTOR_CPU")},
            {"VANTOR_LOG", variable("VANTOR_LOG")}};
}

std::string joinWords(const Json& list) {
    std::string text;
    for (const std::string word : list) text += (text.empty() ? "" : ", ") + word;
    return text;
}

void printKernels(const Json& kernels) {
    printLine("kernels:");
    for (const auto& [name, family] : kernels.items()) {
        printLine("  %-16s compiled %s; in use %s", name.c_str(), joinWords(family["compiled"]).c_str(),
                  family["in_use"].get<std::string>().c_str());
    }
}

}  // namespace vantor::tool
