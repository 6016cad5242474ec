// The vector stages of the bilinear chroma family, one table an instruction set. All tables give the same
// bytes.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"

namespace vantor {

/// Weights are phases in 1/32 (0 to 31). Both stages cut the fraction: ((32 - t) x a + t x b) >> 5.
struct ChromaKernels {
    InstructionSet set;

    /// Horizontal stage: pair i lies between the pair at row[tap[i]] and the one behind it, at phase[i]. Taps
    /// are byte offsets of any parity in any order; nothing behind row[tap[i] + 3] is read.
    void (*filterRow)(const uint8_t* row, const uint32_t* tap, const uint8_t* phase, uint8_t* out, int pairs);

    /// Vertical stage between two filtered rows, at one phase.
    void (*blendRows)(const uint8_t* row0, const uint8_t* row1, int phase, uint8_t* out, int pairs);
};

extern const ChromaKernels kChromaPlain;

constexpr const ChromaKernels* kChromaTables[] = {&kChromaPlain};

}  // namespace vantor
