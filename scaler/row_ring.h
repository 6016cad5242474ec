// Pictures are worked on in strips of columns, so that tables and filtered rows have a fixed, small size on
// the worker's stack whatever the picture's width.
#pragma once

#include "scaler/gather_windows.h"

namespace vantor {

/// The most recent horizontally filtered source rows of one strip. Consecutive output rows share most of
/// their source rows, so each is filtered once a strip as long as it stays within `Rows` rows of the newest.
/// `Rows` is a power of two.
template <typename Sample, int Rows, int Columns>
class RowRing {
    static_assert((Rows & (Rows - 1)) == 0);

public:
    /// Source row `index` filtered; `filter(index, out)` is called if the ring does not hold it.
    template <typename Filter>
    const Sample* row(int index, Filter&& filter) {
        const int slot = index & (Rows - 1);
        if (held_[slot] != index + 1) {
            filter(index, samples_[slot]);
            held_[slot] = index + 1;
        }
        return samples_[slot];
    }

private:
    int held_[Rows] = {};  // row index + 1; 0 for none
    alignas(64) Sample samples_[Rows][Columns];
};

}  // namespace vantor
