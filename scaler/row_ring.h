// The most recent horizontally filtered source rows of one strip.
#pragma once

#include <algorithm>

namespace vantor {

/// The consecutive source rows that an output row is made of; beyond the plane its edge row is repeated.
struct SourceRows {
    int first;
    int last;

    bool operator==(const SourceRows& other) const { return first == other.first && last == other.last; }
};

/// Consecutive output rows share most of their source rows, so each is filtered once per strip as long as it
/// stays within `Rows` rows of the newest. `Rows` is a power of two.
template <typename Sample, int Rows, int Columns>
class RowRing {
    static_assert((Rows & (Rows - 1)) == 0);

public:
    /// For a plane of `planeRows` rows, walked upward or downward.
    RowRing(int planeRows, bool upward) : lastRow_(planeRows - 1), upward_(upward) {}

    /// Points taps[0] and on to the filtered rows of `wanted`, at most `Rows`. For a row that is not held,
    /// `filter(row, next, out)` is called; `next` is the row that will follow if `wantedNext` is asked for
    /// after this.
    template <typename Filter>
    void fetch(const SourceRows& wanted, const SourceRows& wantedNext, const Sample* (&taps)[Rows],
               Filter&& filter) {
        const int count = wanted.last - wanted.first + 1;
        for (int i = 0; i < count; ++i) {
            const int tap = upward_ ? count - 1 - i : i;
            const int row = inPlane(wanted.first + tap);
            const int slot = row & (Rows - 1);
            if (held_[slot] != row + 1) {
                filter(row, inPlane(rowAfter(row, wanted, wantedNext)), samples_[slot]);
                held_[slot] = row + 1;
            }
            taps[tap] = samples_[slot];
        }
    }

private:
    int inPlane(int row) const { return std::clamp(row, 0, lastRow_); }

    int rowAfter(int row, const SourceRows& wanted, const SourceRows& wantedNext) const {
        if (upward_) return row > wanted.first ? row - 1 : std::min(row - 1, wantedNext.last);
        return row < wanted.last ? row + 1 : std::max(row + 1, wantedNext.first);
    }

    int lastRow_;
    bool upward_;
    int held_[Rows] = {};  // row + 1; 0 for none
    alignas(64) Sample samples_[Rows][Columns];
};

}  // namespace vantor
