// Which instruction sets the CPU offers and the user allows. Kernel tables are chosen by this alone.
#pragma once

namespace vantor {

/// In order of preference: a family uses the last of its tables whose set is usable.
enum class InstructionSet { Plain, Neon, Wasm, Avx2, Avx512 };

constexpr InstructionSet kInstructionSets[] = {InstructionSet::Plain, InstructionSet::Neon,
                                               InstructionSet::Wasm, InstructionSet::Avx2,
                                               InstructionSet::Avx512};

/// "plain", "neon", "wasm", "avx2" or "avx512".
const char* instructionSetName(InstructionSet set);

/// Whether the CPU and the system can run kernels of this set. Avx2 means AVX2 and POPCNT, Avx512
/// for those, FMA, F16C and AVX-512's F, BW, VL, VBMI and VNNI together.
bool cpuHas(InstructionSet set);

/// Whether `name` is a value of VANTOR_CPU: "plain", "avx2" or "avx512". Null (unset) is valid too.
bool isInstructionSetLimit(const char* name);

/// Whether the CPU has the set and VANTOR_CPU does not rule it out. VANTOR_CPU names the last set that
/// may be used; it is read once per process, and any other value is ignored.
bool isUsable(InstructionSet set);

/// The best usable table of a family. `tables` is in order of preference and begins with the plain one.
template <typename Kernels, int Count>
const Kernels& bestTable(const Kernels* const (&tables)[Count]) {
    const Kernels* best = tables[0];
    for (const Kernels* table : tables) {
        if (isUsable(table->set)) best = table;
    }
    return *best;
}

}  // namespace vantor
