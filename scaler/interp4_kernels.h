// The vector stages of the four-tap family, one table an instruction set. All tables give the same bytes.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"

namespace vantor {

struct FourTapKernels {
    InstructionSet set;

    /// Luma, horizontal stage: out[i] = (sum of weight x sample over row[tap[i]] to row[tap[i] + 3] + 128) >>
    /// 8, saturated to 16 bits: 1/16 of a level for weights that sum to 4096. The four weights are row
    /// `phase[i]` (0 to 31) of `coefficients`, any 16-bit values. Nothing behind row[tap[i] + 3] is read.
    void (*filterRow)(const uint8_t* row, const uint32_t* tap, const uint8_t* phase,
                      const int16_t* coefficients, int16_t* out, int columns);

    /// Luma, vertical stage: (sum of weight x row + 32768) >> 16, saturated to 0..255. The sum wraps at 32
    /// bits, the rounding does not.
    void (*blendRows)(const int16_t* const rows[4], const int16_t* weights, uint8_t* out, int columns);

    /// Chroma, horizontal stage: pair i lies between the pair at row[tap[i]] and the one behind it, at
    /// weight[i] in 1/64, rounded. Nothing behind row[tap[i] + 3] is read.
    void (*filterPairs)(const uint8_t* row, const uint32_t* tap, const uint8_t* weight, uint8_t* out,
                        int pairs);

    /// Chroma, vertical stage between two filtered rows, at one weight in 1/64, rounded.
    void (*blendPairs)(const uint8_t* row0, const uint8_t* row1, int weight, uint8_t* out, int pairs);
};

extern const FourTapKernels kFourTapPlain;

constexpr const FourTapKernels* kFourTapTables[] = {&kFourTapPlain};

}  // namespace vantor
