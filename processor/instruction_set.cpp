#include "processor/instruction_set.h"

#include <cstdlib>
#include <cstring>

namespace vantor {
namespace {

struct Limit {
    const char* name;
    InstructionSet last;
};

constexpr Limit kLimits[] = {
    {"plain", InstructionSet::Plain}, {"avx2", InstructionSet::Avx2}, {"avx512", InstructionSet::Avx512}};

const Limit* findLimit(const char* name) {
    for (const Limit& limit : kLimits) {
        if (std::strcmp(limit.name, name) == 0) return &limit;
    }
    return nullptr;
}

InstructionSet lastAllowedSet() {
    const char* name = std::getenv("VANTOR_CPU");
    const Limit* limit = name ? findLimit(name) : nullptr;
    return limit ? limit->last : InstructionSet::Avx512;
}

}  // namespace

const char* instructionSetName(InstructionSet set) {
    switch (set) {
        case InstructionSet::Neon:
            return "neon";
        case InstructionSet::Avx2:
            return "avx2";
        case InstructionSet::Avx512:
            return "avx512";
        case InstructionSet::Plain:
            break;
    }
    return "plain";
}

bool processorHas(InstructionSet set) {
    if (set == InstructionSet::Plain) return true;
#if defined(__ARM_NEON)
    if (set == InstructionSet::Neon) return true;
#endif
#if defined(__x86_64__)
    if (set == InstructionSet::Avx2) return __builtin_cpu_supports("avx2");
    if (set == InstructionSet::Avx512) {
        return __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
               __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi");
    }
#endif
    return false;
}

bool isInstructionSetLimit(const char* name) {
    return name == nullptr || findLimit(name) != nullptr;
}

bool isUsable(InstructionSet set) {
    static const InstructionSet lastAllowed = lastAllowedSet();
    return set <= lastAllowed && processorHas(set);
}

}  // namespace vantor
