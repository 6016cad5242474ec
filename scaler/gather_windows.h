// Where the vector stages load their bytes from. Every output column needs an element: four consecutive bytes
// of the source row. Elements of neighbouring columns lie close together or overlap, so a vector stage loads
// windows of consecutive bytes and picks the elements from them by a shuffle.
#pragma once

#include <cstdint>
#include <type_traits>

namespace vantor {

constexpr uint32_t kElementBytes = 4;

/// Filtered rows and the tables of columns are padded to a multiple of this many columns, so that vector
/// stages work on whole vectors; none is wider.
constexpr int kVectorColumns = 64;

/// The maximum columns that are worked on at a time. With their tables and filtered rows the kernels then
/// stay within 16 KB of stack: what a new thread touches beyond that costs it page faults.
constexpr int kStripColumns = 768;

/// The same where the stack is deep, in up to 60 KB of it: whole rows, mostly, which is what the prefetchers
/// of caches like best, and fewer calls per row. In browsers the size of the code counts more.
#if defined(__wasm__)
constexpr int kWideStripColumns = kStripColumns;
#else
constexpr int kWideStripColumns = 2048;
#endif

/// The elements of consecutive output columns, at least one. Up to paddedColumns(columns) both arrays repeat
/// their last entry.
struct ColumnTaps {
    const uint32_t* tap;   ///< where the element begins in the source row, ascending
    const uint8_t* phase;  ///< between its bytes; the scale is the family's
    int columns;
};

/// How a vector table gathers its elements, worked out once for all rows; the layout of `shuffle`
/// is up to the table.
struct ElementPlan {
    int windowsPerVector;
    uint32_t* start;
    uint8_t* shuffle;
};

/// The memory of a plan for at most `Columns` columns, with `PerColumn` entries in the family's own table.
template <int Columns, typename Entry, int PerColumn>
struct PlanMemory {
    PlanMemory() {}  // leaves all as it is

    uint32_t start[Columns / 2];
    alignas(64) uint8_t shuffle[kElementBytes * Columns];
    alignas(64) Entry table[PerColumn * Columns];
};

/// Lays a window of `windowBytes` bytes, the first from start[0] on, around each `perWindow` elements of the
/// padded columns; element i begins offset[i] bytes into its window. Windows stay within the span of all
/// elements, so nothing else of the row is loaded. Returns false where that span is shorter than a window, or
/// the elements of one window lie too far apart.
bool placeWindows(const ColumnTaps& taps, int perWindow, uint32_t windowBytes, uint32_t* start,
                  uint8_t* offset);

/// Calls `filter` with the plan's number of windows, which is one of these, as a constant.
template <int Windows, int... More, typename Filter>
void withWindows(const ElementPlan& plan, Filter&& filter) {
    if constexpr (sizeof...(More) > 0) {
        if (plan.windowsPerVector != Windows) return withWindows<More...>(plan, filter);
    }
    filter(std::integral_constant<int, Windows>());
}

}  // namespace vantor
