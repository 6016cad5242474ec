// Where the output samples of interp4 lie in the source, along one axis.
#pragma once

#include <algorithm>
#include <cstdint>

#include "processor/float_rounding.h"
#include "scaler/interp4_filter.h"

namespace vantor {

/// Source positions of output columns, or rows, in 1/32 sample, clamped so that four taps fit in the source.
class Interp4Axis {
public:
    /// The step is in 1/262144 sample. Its inner quotient is rounded to single precision, which changes the
    /// step by one unit for some pairs of sizes.
    Interp4Axis(int srcSize, int cropStart, int cropSize, int dstSize)
        : srcSize_(srcSize),
          origin_(int64_t{cropStart} * kUnit),
          step_(static_cast<int64_t>(
              kUnit / static_cast<double>(static_cast<float>(dstSize) / static_cast<float>(cropSize)) +
              0.5)) {}

    int64_t position(int i) const { return inside(origin_ + i * step_); }

    /// Calls `store(position)` for `count` columns from `first` on, `every` columns apart.
    template <typename Store>
    void walk(int first, int count, int every, Store&& store) const {
        int64_t exact = origin_ + first * step_;
        for (int i = 0; i < count; ++i, exact += every * step_) store(inside(exact));
    }

    int srcSize() const { return srcSize_; }

    /// In 1/262144 sample.
    int64_t step() const { return step_; }

    /// Otherwise some taps lie beyond the source's edge.
    bool holdsAllTaps() const { return srcSize_ >= kInterp4Taps; }

private:
    static constexpr int kUnit = 262144;

    int64_t inside(int64_t exact) const {
        return std::min(std::max<int64_t>((exact + 4096) >> 13, 32), int64_t{32} * srcSize_ - 65);
    }

    int srcSize_;
    int64_t origin_;
    int64_t step_;
};

}  // namespace vantor
