// The vector stages of the bicubic luma family, one table per instruction set. All tables give the same
// bytes.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"
#include "scaler/gather_windows.h"

namespace vantor {

/// What a table's filterRow wants to know of the columns, worked out once for all rows. The plain table keeps
/// the taps; what the others store is up to them.
struct BicubicLumaPlan {
    template <int Columns>
    using Memory = PlanMemory<Columns, int16_t, 1>;

    template <int Columns>
    explicit BicubicLumaPlan(Memory<Columns>& memory)
        : elements{0, memory.start, memory.shuffle}, phase(memory.table) {}

    ColumnTaps taps{};
    ElementPlan elements;
    int16_t* phase;
    int repeatEnd = 0;  ///< up to this column the windows are `advance` bytes apart, and all else repeats
    uint32_t advance = 0;
};

struct BicubicLumaKernels {
    InstructionSet set;

    /// Plans the columns (phases 0 to 31; the plain table takes 0 to 63). Returns false where the taps are
    /// too close together or too far apart for the table's vectors; the plain table takes all.
    bool (*plan)(const ColumnTaps& taps, BicubicLumaPlan& plan);

    /// Horizontal stage: out[i] is the clamped cubic of row[tap[i]] to row[tap[i] + 3] at phase[i]. Nothing
    /// of the row before tap[0] or after tap[columns - 1] + 3 is read. `next` is the row that is likely to
    /// be filtered next, to be fetched into the cache meanwhile. Padding columns of `out` may be written.
    void (*filterRow)(const BicubicLumaPlan& plan, const uint8_t* row, const uint8_t* next, uint8_t* out);

    /// Vertical stage: the same cubic down four filtered rows, at one phase (0 to 31). Padding columns of the
    /// rows are read, those of `out` are not written.
    void (*blendRows)(const uint8_t* const rows[4], int phase, uint8_t* out, int columns);
};

extern const BicubicLumaKernels kBicubicLumaPlain;
#if defined(__ARM_NEON)
extern const BicubicLumaKernels kBicubicLumaNeon;
#elif defined(__wasm_simd128__)
extern const BicubicLumaKernels kBicubicLumaWasm;
#endif
#if defined(__x86_64__)
extern const BicubicLumaKernels kBicubicLumaAvx2;
extern const BicubicLumaKernels kBicubicLumaAvx512;
#endif

constexpr const BicubicLumaKernels* kBicubicLumaTables[] = {
    &kBicubicLumaPlain,
#if defined(__ARM_NEON)
    &kBicubicLumaNeon,
#elif defined(__wasm_simd128__)
    &kBicubicLumaWasm,
#endif
#if defined(__x86_64__)
    &kBicubicLumaAvx2,
    &kBicubicLumaAvx512,
#endif
};

}  // namespace vantor
