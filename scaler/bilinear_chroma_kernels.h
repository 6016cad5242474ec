// The vector stages of the bilinear filters over interleaved UV pairs, one table an instruction set. There
// are two filters: the reducing scaler's has weights in 1/32 and cuts the fraction, ((32 - t) x a + t x b) >>
// 5; the enlarging scaler's has weights in 1/64 and rounds, ((64 - t) x a + t x b + 32) >> 6. All tables of a
// filter give the same bytes.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"
#include "scaler/gather_windows.h"

namespace vantor {

/// What a table's filterRow wants to know of the pairs, worked out once for all rows. The plain table keeps
/// the taps; what the others lay down is their own business.
struct PairPlan {
    ColumnTaps taps;
    ElementPlan elements;
    alignas(64) uint8_t weights[2 * kStripColumns];
};

struct PairKernels {
    InstructionSet set;

    /// Plans the pairs. Phases are weights t, from 0 to 32 or 64 inclusive. Returns false where the taps are
    /// too close together or too far apart for the table's vectors; the plain table takes all.
    bool (*plan)(const ColumnTaps& taps, PairPlan& plan);

    /// Horizontal stage: pair i lies between the pair at row[tap[i]] and the one behind it, at phase[i].
    /// Nothing of the row before tap[0] or behind tap[columns - 1] + 3 is read. `next` is the row that is
    /// likely to be filtered next, to be fetched into the cache meanwhile. Padding pairs of `out` may be
    /// written.
    void (*filterRow)(const PairPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out);

    /// Vertical stage between two filtered rows, at one weight. Padding pairs of the rows are read, those of
    /// `out` are not written.
    void (*blendRows)(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs);
};

extern const PairKernels kCutPairsPlain;
extern const PairKernels kRoundedPairsPlain;
#if defined(__ARM_NEON)
extern const PairKernels kCutPairsNeon;
extern const PairKernels kRoundedPairsNeon;
#endif
#if defined(__x86_64__)
extern const PairKernels kCutPairsAvx2;
extern const PairKernels kRoundedPairsAvx2;
extern const PairKernels kCutPairsAvx512;
extern const PairKernels kRoundedPairsAvx512;
#endif

constexpr const PairKernels* kCutPairsTables[] = {
    &kCutPairsPlain,
#if defined(__ARM_NEON)
    &kCutPairsNeon,
#endif
#if defined(__x86_64__)
    &kCutPairsAvx2,
    &kCutPairsAvx512,
#endif
};

constexpr const PairKernels* kRoundedPairsTables[] = {
    &kRoundedPairsPlain,
#if defined(__ARM_NEON)
    &kRoundedPairsNeon,
#endif
#if defined(__x86_64__)
    &kRoundedPairsAvx2,
    &kRoundedPairsAvx512,
#endif
};

}  // namespace vantor
