// The vector stages of interp4's luma filter, which has four taps, one table per instruction set. All tables
// give the same bytes. Its chroma has those of bilinear_chroma_kernels.h.
#pragma once

#include <cstdint>

#include "processor/instruction_set.h"
#include "scaler/gather_windows.h"

namespace vantor {

/// The maximum columns of a strip on little stack: fewer than elsewhere, as each takes more memory.
constexpr int kInterp4Columns = 512;

/// What a table's filterRow wants to know of the columns, worked out once for all rows. The plain table keeps
/// the taps and the coefficients; what the others store is up to them.
struct Interp4Plan {
    template <int Columns>
    using Memory = PlanMemory<Columns, int8_t, 8>;

    template <int Columns>
    explicit Interp4Plan(Memory<Columns>& memory)
        : elements{0, memory.start, memory.shuffle}, weights(memory.table) {}

    ColumnTaps taps{};
    const int16_t* coefficients = nullptr;
    ElementPlan elements;
    int8_t* weights;
};

struct Interp4Kernels {
    InstructionSet set;

    /// Plans the columns. The four weights of a column are row phase[i] (0 to 31) of `coefficients`. The
    /// plain table takes any 16-bit values, the others those that fitBytes lets pass. Returns false where the
    /// taps are too close together or too far apart for the table's vectors; the plain table takes all.
    bool (*plan)(const ColumnTaps& taps, const int16_t* coefficients, Interp4Plan& plan);

    /// Horizontal stage: out[i] = (sum of weight x sample over row[tap[i]] to row[tap[i] + 3] + 128) >> 8,
    /// saturated to 16 bits: 1/16 of a level for weights that sum to 4096. Nothing of the row before tap[0]
    /// or after tap[columns - 1] + 3 is read. `next` is the row that is likely to be filtered next. Padding
    /// columns of `out` may be written.
    void (*filterRow)(const Interp4Plan& plan, const uint8_t* row, const uint8_t* next, int16_t* out);

    /// Vertical stage of `count` output rows, each of the same four rows by its own four weights: (sum of
    /// weight x row + 32768) >> 16, saturated to 0..255. In the plain table the sum wraps at 32 bits, the
    /// rounding does not; the others take sums that stay below 2^31 when rounded, as those of weights that
    /// fitBytes lets pass do. Padding columns of the rows are read, those of `outs` are not written.
    void (*blendRows)(const int16_t* const rows[4], const int16_t* const* weights, uint8_t* const* outs,
                      int count, int columns);

    /// The vertical stage where it has one tap of weight 4096: (row + 8) >> 4, saturated to 0..255.
    void (*roundRow)(const int16_t* row, uint8_t* out, int columns);
};

extern const Interp4Kernels kInterp4Plain;
#if defined(__ARM_NEON)
extern const Interp4Kernels kInterp4Neon;
#elif defined(__wasm_simd128__)
extern const Interp4Kernels kInterp4Wasm;
#endif
#if defined(__x86_64__)
extern const Interp4Kernels kInterp4Avx2;
extern const Interp4Kernels kInterp4Avx512;
#endif

constexpr const Interp4Kernels* kInterp4Tables[] = {
    &kInterp4Plain,
#if defined(__ARM_NEON)
    &kInterp4Neon,
#elif defined(__wasm_simd128__)
    &kInterp4Wasm,
#endif
#if defined(__x86_64__)
    &kInterp4Avx2,
    &kInterp4Avx512,
#endif
};

}  // namespace vantor
