// The horizontal stage of one strip: its columns planned once, its rows then filtered as planned.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "scaler/gather_windows.h"

namespace vantor {

constexpr int paddedColumns(int columns) {
    return (columns + kVectorColumns - 1) / kVectorColumns * kVectorColumns;
}

/// The tables behind ColumnTaps, filled for columns 0 to columns - 1.
template <int MaxColumns = kStripColumns>
struct ColumnTable {
    uint32_t tap[MaxColumns];
    uint8_t phase[MaxColumns];

    ColumnTaps padded(int columns) {
        for (int i = columns; i < paddedColumns(columns); ++i) {
            tap[i] = tap[columns - 1];
            phase[i] = phase[columns - 1];
        }
        return {tap, phase, columns};
    }
};

/// Taps of elements that follow each other without gaps.
constexpr std::array<uint32_t, kWideStripColumns> makePackedTaps() {
    std::array<uint32_t, kWideStripColumns> taps{};
    for (uint32_t i = 0; i < taps.size(); ++i) taps[i] = i * kElementBytes;
    return taps;
}

inline constexpr std::array<uint32_t, kWideStripColumns> kPackedTaps = makePackedTaps();

/// Copies the elements of the padded columns without gaps.
inline void packElements(const uint8_t* row, const ColumnTaps& taps, uint8_t* packed) {
    for (int i = 0; i < paddedColumns(taps.columns); ++i) {
        std::memcpy(packed + kPackedTaps[static_cast<size_t>(i)], row + taps.tap[i], kElementBytes);
    }
}

/// `Kernels` is a family's table, `Plan` its plan. Where the elements lie too far apart for the table's
/// windows, or too close together, the elements of each row are packed first.
template <typename Kernels, typename Plan, int MaxColumns = kStripColumns>
class PlannedColumns {
public:
    /// `taps` outlives the object; `more` is what else the family's plan takes.
    template <typename... More>
    PlannedColumns(const Kernels& kernels, const ColumnTaps& taps, More... more)
        : kernels_(kernels), taps_(taps), plan_(memory_), isPacked_(!kernels.plan(taps, more..., plan_)) {
        if (isPacked_) {
            kernels.plan({kPackedTaps.data(), taps.phase, paddedColumns(taps.columns)}, more..., plan_);
        }
    }

    PlannedColumns(const PlannedColumns&) = delete;
    PlannedColumns& operator=(const PlannedColumns&) = delete;

    /// Padding columns of `out` may be written. `next` is the row that is likely to follow.
    template <typename Sample>
    void filter(const uint8_t* row, const uint8_t* next, Sample* out) const {
        if (!isPacked_) return kernels_.filterRow(plan_, row, next, out);
        uint8_t packed[MaxColumns * kElementBytes];
        packElements(row, taps_, packed);
        kernels_.filterRow(plan_, packed, packed, out);
    }

private:
    const Kernels& kernels_;
    ColumnTaps taps_;
    typename Plan::template Memory<MaxColumns> memory_;
    Plan plan_;
    bool isPacked_;
};

/// Filters rows whose taps come in any order.
template <typename Kernels, typename Plan, int Rows, size_t Bytes>
void filterAnyTaps(const Kernels& kernels, const ColumnTaps& taps, const uint8_t* const (&rows)[Rows],
                   uint8_t (&out)[Rows][Bytes]) {
    const PlannedColumns<Kernels, Plan> columns(
        kernels, {kPackedTaps.data(), taps.phase, paddedColumns(taps.columns)});
    for (int i = 0; i < Rows; ++i) {
        uint8_t packed[kStripColumns * kElementBytes];
        packElements(rows[i], taps, packed);
        columns.filter(packed, packed, out[i]);
    }
}

}  // namespace vantor
