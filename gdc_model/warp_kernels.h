// The vector stages of a warp of byte planes, one table per instruction set. All tables give the same bytes.
#pragma once

#include <cstddef>
#include <cstdint>

#include "gdc_model/grid.h"
#include "processor/instruction_set.h"

namespace vantor {

/// One coordinate of columns that follow each other in one cell of the grid. With u = within[i] (0 to 512)
/// and q = bulge[i] (0 to 128) of WarpRun, column i is displaced by
///   e = ((excess (512 - 2u) + 256) >> 9) + slopeChange
///   d = start + ((difference u + 256) >> 9) - ((e q + 1024) >> 11)
/// and lies at base + i step + ((invScale d + 4096) >> 13), in 1/256 sample.
struct WarpLine {
    int32_t start;
    int32_t difference;
    int32_t slopeChange;
    int32_t excess;
    int32_t invScale;
    int mirror;  ///< non-zero subtracts the displacement from the base instead
    int32_t base;
    int32_t step;
};

/// Columns that follow each other in one cell.
struct WarpRun {
    const int16_t* within;
    const int16_t* bulge;
    int count;
    bool isNarrow;  ///< |difference| < 2^14, |excess| < 2^13, |excess| + |slopeChange| < 2^15, of both lines
    WarpLine x;
    WarpLine y;
};

/// Columns that follow each other in one cell of the grid, up to `end`, counted from the region's first.
struct WarpCell {
    int32_t cell;  ///< 1 to 32
    int32_t end;
};

/// Columns of an output row that follow each other.
struct WarpColumns {
    const int16_t* within;
    const int16_t* bulge;
    const WarpCell* cells;  ///< from the first column's on
    int first;              ///< counted from the region's first
    int count;
};

/// One coordinate along an output row: the values of its GridRow, and of the first column what WarpLine says.
struct WarpRow {
    const int32_t* nodes;
    int32_t invScale;
    int32_t base;
    int32_t step;
};

/// The source. Sizes are even where there is chroma; rows are at least as far apart as they are long. Kernels
/// read nothing outside the rows' bytes: `width` of luma and of pairs, half as many of a chroma plane.
struct WarpSource {
    const uint8_t* y;
    const uint8_t* u;  ///< of the first pair of chroma
    const uint8_t* v;
    std::ptrdiff_t yStride;  ///< bytes from row to row
    std::ptrdiff_t uStride;
    std::ptrdiff_t vStride;
    /// Bytes from one sample of chroma to the next: 2 in pairs, where v is u + 1, or 1 in planes of their
    /// own.
    int chromaStep;
    int width;
    int height;
};

/// Vector kernels read positions, `within` and `bulge` up to the next multiple of kWarpLanes, whatever is
/// stored there; `positions` may write as far.
constexpr int kWarpLanes = 32;
constexpr int kWarpRunColumns = 1024;  ///< at most, in one call of `luma` and `chroma`
constexpr int kMaxWarpSide = 16384;
constexpr int kMinWarpSide = 32;
constexpr int kMaxVectorScale = 32767;
constexpr std::ptrdiff_t kMaxVectorSpan = INT32_MAX;  ///< from a plane's first byte to its last

struct WarpKernels {
    InstructionSet set;

    /// The values of a GridRow, `within` (0 to 384) a row of cells that is `cell` (1 to 32), and their
    /// bounds. Vector tables ask for GridTables::fitsVectors.
    NodeBounds (*nodes)(const GdcGrid& grid, int cell, int within, int32_t* values);

    /// Both coordinates of a run. Vector tables ask for products that fit 32 bits, for |d| < 2^22,
    /// 0 <= invScale <= kMaxVectorScale and no mirror; the plain one clamps d to that and takes anything.
    void (*positions)(const WarpRun& run, int32_t* x, int32_t* y);

    /// Both coordinates of columns in any number of cells, which all have what `positions` asks for. Null
    /// where that is no faster.
    void (*rowPositions)(const WarpColumns& columns, const WarpRow& rowX, const WarpRow& rowY, int32_t* x,
                         int32_t* y);

    /// Luma at the positions x, y: the bicubic value where all sixteen taps lie inside the picture and none
    /// of them is folded, 0 elsewhere. Returns bit k if that may not hold for all positions from k kWarpLanes
    /// to (k + 1) kWarpLanes - 1.
    uint32_t (*luma)(const WarpSource& src, const int32_t* x, const int32_t* y, int count, uint8_t* out);

    /// Pairs of chroma at every second position, x[0], x[2], ...: the bilinear value where luma has all its
    /// taps, 128 elsewhere.
    void (*chroma)(const WarpSource& src, const int32_t* x, const int32_t* y, int pairs, uint8_t* out);
};

extern const WarpKernels kWarpPlain;
#if defined(__x86_64__)
extern const WarpKernels kWarpAvx2;
extern const WarpKernels kWarpAvx512;
#endif
#if defined(__ARM_NEON)
extern const WarpKernels kWarpNeon;
#elif defined(__wasm_simd128__)
extern const WarpKernels kWarpWasm;
#endif

constexpr const WarpKernels* kWarpTables[] = {
    &kWarpPlain,
#if defined(__ARM_NEON)
    &kWarpNeon,
#elif defined(__wasm_simd128__)
    &kWarpWasm,
#endif
#if defined(__x86_64__)
    &kWarpAvx2,
    &kWarpAvx512,
#endif
};

}  // namespace vantor
