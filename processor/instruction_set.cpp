#include "processor/instruction_set.h"

#include <cstdlib>
#include <cstring>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

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

#if defined(__x86_64__)
// All that the flags of the kernels' files (CMakeLists.txt) let g++ and clang use. The compilers'
// __builtin_cpu_supports covers the operating system's part: it is true only if the system saves the
// registers of the set (OSXSAVE, XCR0).

bool hasAvx2() {
    return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("popcnt");
}

/// clang's -mavx512f enables half-precision conversions, but its __builtin_cpu_supports does not know the
/// name f16c.
bool hasHalfFloats() {
    unsigned eax, ebx, ecx, edx;
    return __get_cpuid(1, &eax, &ebx, &ecx, &edx) != 0 && (ecx & bit_F16C) != 0;
}

bool hasAvx512() {
    return hasAvx2() && __builtin_cpu_supports("fma") && hasHalfFloats() &&
           __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512vbmi") &&
           __builtin_cpu_supports("avx512vnni");
}
#endif

}  // namespace

const char* instructionSetName(InstructionSet set) {
    switch (set) {
        case InstructionSet::Neon:
            return "neon";
        case InstructionSet::Wasm:
            return "wasm";
        case InstructionSet::Avx2:
            return "avx2";
        case InstructionSet::Avx512:
            return "avx512";
        case InstructionSet::Plain:
            break;
    }
    return "plain";
}

bool cpuHas(InstructionSet set) {
    if (set == InstructionSet::Plain) return true;
#if defined(__ARM_NEON)
    if (set == InstructionSet::Neon) return true;
#endif
#if defined(__wasm_simd128__)
    if (set == InstructionSet::Wasm) return true;
#endif
#if defined(__x86_64__)
    if (set == InstructionSet::Avx2) return hasAvx2();
    if (set == InstructionSet::Avx512) return hasAvx512();
#endif
    return false;
}

bool isInstructionSetLimit(const char* name) {
    return name == nullptr || findLimit(name) != nullptr;
}

bool isUsable(InstructionSet set) {
    static const InstructionSet lastAllowed = lastAllowedSet();
    return set <= lastAllowed && cpuHas(set);
}

}  // namespace vantor
