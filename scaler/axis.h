// Where the output samples of a reduction lie in the source, along one axis.
#pragma once

#include <cstdint>

namespace vantor {

/// Positions in 1 / 2^fractionBits of a source sample; the phase is their upper phaseBits fraction bits.
struct PositionFormat {
    int fractionBits;
    int phaseBits;
};

constexpr PositionFormat kPosition8192{13, 5};  ///< 1/8192 sample, phases of 1/32: the band kernels
constexpr PositionFormat kPosition64{6, 6};     ///< 1/64 sample, phases of 1/64
constexpr PositionFormat kPosition32{5, 5};     ///< 1/32 sample, phases of 1/32

/// Output sample i lies at i x step, the step truncated: output 0 samples source 0 exactly, and centres are
/// not offset. 64 bits, because the source size alone, in this format, needs more than 31 bits from 2^18
/// samples on.
class Axis {
public:
    Axis(int srcSize, int dstSize, PositionFormat format)
        : format_(format), step_((int64_t{srcSize} << format.fractionBits) / dstSize) {}

    int index(int i) const { return static_cast<int>((i * step_) >> format_.fractionBits); }

    int phase(int i) const { return phaseOf(i * step_); }

    /// The step in source samples if it is a whole number, so that every phase is 0; else 0.
    int wholeStep() const {
        const int64_t samples = step_ >> format_.fractionBits;
        return samples << format_.fractionBits == step_ ? static_cast<int>(samples) : 0;
    }

    /// Calls `store(index, phase)` for `count` output samples from `first` on.
    template <typename Store>
    void walk(int first, int count, Store&& store) const {
        int64_t position = first * step_;
        for (int i = 0; i < count; ++i, position += step_) {
            store(static_cast<int>(position >> format_.fractionBits), phaseOf(position));
        }
    }

private:
    int phaseOf(int64_t position) const {
        const int64_t units = position >> (format_.fractionBits - format_.phaseBits);
        return static_cast<int>(units & ((1 << format_.phaseBits) - 1));
    }

    PositionFormat format_;
    int64_t step_;
};

}  // namespace vantor
