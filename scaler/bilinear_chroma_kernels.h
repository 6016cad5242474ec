// The vector stages of the bilinear filters over interleaved UV pairs, one table per instruction set. There
// are two filters: that of bilinear_chroma.h has weights in 1/32 and truncates the fraction, ((32 - t) x a +
// t x b) >> 5; that of interp4's chroma has weights in 1/64 and rounds, ((64 - t) x a + t x b + 32) >> 6. All
// tables of a filter give the same bytes.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"
#include "scaler/gather_windows.h"

namespace vantor {

/// What a table's filterRow wants to know of the pairs, worked out once for all rows. The plain table keeps
/// the taps; what the others store is up to them.
struct BilinearChromaPlan {
    template <int Columns>
    using Memory = PlanMemory<Columns, uint8_t, 2>;

    template <int Columns>
    explicit BilinearChromaPlan(Memory<Columns>& memory)
        : elements{0, memory.start, memory.shuffle}, weights(memory.table) {}

    ColumnTaps taps{};
    ElementPlan elements;
    uint8_t* weights;
};

struct BilinearChromaKernels {
    InstructionSet set;

    /// Plans the pairs. Phases are weights t, from 0 to 32 or 64 inclusive. Returns false where the taps are
    /// too close together or too far apart for the table's vectors; the plain table takes all.
    bool (*plan)(const ColumnTaps& taps, BilinearChromaPlan& plan);

    /// Horizontal stage: pair i lies between the pair at row[tap[i]] and the one after it, at phase[i].
    /// Nothing of the row before tap[0] or after tap[columns - 1] + 3 is read. `next` is the row that is
    /// likely to be filtered next, to be fetched into the cache meanwhile. Padding pairs of `out` may be
    /// written.
    void (*filterRow)(const BilinearChromaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out);

    /// Vertical stage between two filtered rows, at one weight. Padding pairs of the rows are read, those of
    /// `out` are not written.
    void (*blendRows)(const uint8_t* const rows[2], int weight, uint8_t* out, int pairs);
};

extern const BilinearChromaKernels kBilinearChromaTruncatedPlain;
extern const BilinearChromaKernels kBilinearChromaRoundedPlain;
#if defined(__ARM_NEON)
extern const BilinearChromaKernels kBilinearChromaTruncatedNeon;
extern const BilinearChromaKernels kBilinearChromaRoundedNeon;
#elif defined(__wasm_simd128__)
extern const BilinearChromaKernels kBilinearChromaTruncatedWasm;
extern const BilinearChromaKernels kBilinearChromaRoundedWasm;
#endif
#if defined(__x86_64__)
extern const BilinearChromaKernels kBilinearChromaTruncatedAvx2;
extern const BilinearChromaKernels kBilinearChromaRoundedAvx2;
extern const BilinearChromaKernels kBilinearChromaTruncatedAvx512;
extern const BilinearChromaKernels kBilinearChromaRoundedAvx512;
#endif

constexpr const BilinearChromaKernels* kBilinearChromaTruncatedTables[] = {
    &kBilinearChromaTruncatedPlain,
#if defined(__ARM_NEON)
    &kBilinearChromaTruncatedNeon,
#elif defined(__wasm_simd128__)
    &kBilinearChromaTruncatedWasm,
#endif
#if defined(__x86_64__)
    &kBilinearChromaTruncatedAvx2,
    &kBilinearChromaTruncatedAvx512,
#endif
};

constexpr const BilinearChromaKernels* kBilinearChromaRoundedTables[] = {
    &kBilinearChromaRoundedPlain,
#if defined(__ARM_NEON)
    &kBilinearChromaRoundedNeon,
#elif defined(__wasm_simd128__)
    &kBilinearChromaRoundedWasm,
#endif
#if defined(__x86_64__)
    &kBilinearChromaRoundedAvx2,
    &kBilinearChromaRoundedAvx512,
#endif
};

}  // namespace vantor
