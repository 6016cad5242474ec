// Chroma in two planes on its way through the filters, which work on pairs.
#pragma once

#include <cstddef>
#include <cstdint>

#include "scaler/planes.h"
#include "scaler/planned_columns.h"

namespace vantor {

inline void mergePairs(const uint8_t* __restrict u, const uint8_t* __restrict v, int count,
                       uint8_t* __restrict pairs) {
    for (int i = 0; i < count; ++i) {
        pairs[2 * i] = u[i];
        pairs[2 * i + 1] = v[i];
    }
}

inline void splitPairs(const uint8_t* __restrict pairs, int count, uint8_t* __restrict u,
                       uint8_t* __restrict v) {
    for (int i = 0; i < count; ++i) {
        u[i] = pairs[2 * i];
        v[i] = pairs[2 * i + 1];
    }
}

/// In place of PlanarPairs where there are pairs.
struct NoPlanarPairs {};

/// The pairs that a strip needs of a source row of U and V: the span between the outermost ones, or, where
/// that is long, the two around each column, packed.
template <int MaxColumns>
class PlanarPairs {
public:
    using Buffer = uint8_t[2 * 4 * MaxColumns];

    /// Fits taps, which count bytes of pairs from the row's first, to what fetch() gives.
    ColumnTaps plan(ColumnTable<MaxColumns>& table, int columns) {
        table_ = &table;
        columns_ = paddedColumns(columns);
        first_ = static_cast<int>(table.tap[0] / 2);
        pairs_ = static_cast<int>(table.tap[columns - 1] / 2) + 2 - first_;
        if (!isSpan()) return {kPackedTaps.data(), table.phase, columns_};
        for (int i = columns_ - 1; i >= 0; --i) table.tap[i] -= table.tap[0];
        return {table.tap, table.phase, columns};
    }

    void fetch(const SourcePlane& src, int row, Buffer& pairs) const {
        const uint8_t* const u = src.row(row);
        const uint8_t* const v = src.vRow(row);
        if (isSpan()) return mergePairs(u + first_, v + first_, pairs_, pairs);
        for (int i = 0; i < columns_; ++i)
            mergePairs(u + table_->tap[i] / 2, v + table_->tap[i] / 2, 2, pairs + 4 * i);
    }

private:
    bool isSpan() const { return 2 * static_cast<size_t>(pairs_) <= sizeof(Buffer); }

    const ColumnTable<MaxColumns>* table_ = nullptr;
    int columns_ = 0;
    int first_ = 0;
    int pairs_ = 0;
};

}  // namespace vantor
