// From a source position to output samples: the taps, bicubic luma, bilinear chroma.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "gdc_model/fixed_point.h"
#include "gdc_model/gdc_frame.h"

namespace vantor {

constexpr int kTapPhases = 256;

/// Weights of the four taps at every phase p, in 1/256: the cubic convolution kernel (a = -1/2) at distances
/// 1 + p, p, 1 - p and 2 - p (p in 1/256), rounded; no value lies half way. The weights of a phase sum to
/// 255, 256 or 257.
constexpr std::array<std::array<int32_t, 4>, kTapPhases> makeTapWeights() {
    // Both kernel pieces over 2 x 256^2, to the nearest integer.
    constexpr int32_t kDenominator = 2 * 256 * 256;
    const auto nearest = [](int64_t n) { return static_cast<int32_t>((n + kDenominator / 2) >> 17); };
    const auto outer = [nearest](int64_t p) { return nearest(-65536 * p + 512 * p * p - p * p * p); };
    const auto inner = [nearest](int64_t p) {
        return nearest(3 * p * p * p - 1280 * p * p + 256 * kDenominator);
    };
    std::array<std::array<int32_t, 4>, kTapPhases> weights{};
    for (int p = 0; p < kTapPhases; ++p) {
        weights[static_cast<size_t>(p)] = {outer(p), inner(p), inner(256 - p), outer(256 - p)};
    }
    return weights;
}

constexpr auto kTapWeights = makeTapWeights();

/// A source position along one axis.
struct SourcePosition {
    int32_t coordinate;  ///< in 1/256 sample
    int32_t index;       ///< of the sample to the right of (below) the position; -1 outside the source
    int32_t fraction;    ///< distance from the centre of the sample before it, in 1/256 sample

    SourcePosition(int32_t position, bool isInside)
        : coordinate(position),
          index(isInside ? wrapAdd(position, 128) >> 8 : -1),
          fraction(wrapAdd(position, 128) & 255) {}
};

inline bool isInside(int32_t coordinate, int size) {
    return coordinate >= 0 && coordinate < int64_t{size} * 256;
}

/// Whether no tap around a position inside the source is folded.
inline bool hasPlainTaps(const SourcePosition& at, int size) {
    return at.index >= 2 && at.index <= size - 2;
}

/// The columns (rows) of the four luma taps around `index`, folded back at the borders. Sources of one
/// sample, into which nothing folds, are all that sample.
inline std::array<int, 4> lumaTaps(int index, int size) {
    const auto back = [size](int i) { return i >= size ? i - 2 : i; };
    const std::array<int, 4> taps = {back(index >= 2 ? index - 2 : index), back(index == 0 ? 1 : index - 1),
                                     index < size ? index : index - 2,
                                     index + 1 < size ? index + 1 : index - 1};
    return {std::max(taps[0], 0), std::max(taps[1], 0), std::max(taps[2], 0), std::max(taps[3], 0)};
}

/// The two chroma columns (rows) around a position, `size` samples in all, each as wide as two luma samples.
struct ChromaTaps {
    int first;
    int second;
};

inline ChromaTaps foldChroma(int index, int size) {
    const auto back = [size](int i) { return std::max(i >= size ? i - 1 : i, 0); };
    return {back(index == 0 ? 0 : index - 1), back(index)};
}

inline ChromaTaps chromaTaps(const SourcePosition& position, int lumaSize) {
    return foldChroma((position.index & 1) + (wrapAdd(position.coordinate, 128) >> 9), lumaSize / 2);
}

/// Sixteen luma samples, row by row.
using LumaBlock = std::array<std::array<int32_t, 4>, 4>;

/// The weight of a sample from the product of its two taps: to nearest, ties away from zero.
constexpr int32_t roundedWeight(int32_t product) {
    return (product + 128 + (product >> 31)) >> 8;
}

/// One bicubic interpolation with all its intermediate values. Samples are 16 bits, the magnitudes of the
/// sixteen weights sum to 404 at most: 32 bits hold everything.
struct Bicubic {
    LumaBlock weights;
    int32_t weightSum = 0;
    int32_t sum = 0;  ///< weights x samples
    int32_t correction;
    int32_t low;  ///< de-ringing bounds
    int32_t high;
    int32_t value;

    Bicubic(const LumaBlock& samples, int fractionX, int fractionY, const GdcSettings& settings) {
        const auto& across = kTapWeights[static_cast<size_t>(fractionX)];
        const auto& down = kTapWeights[static_cast<size_t>(fractionY)];
        for (size_t j = 0; j < 4; ++j) {
            for (size_t i = 0; i < 4; ++i) {
                weights[j][i] = roundedWeight(down[j] * across[i]);
                weightSum += weights[j][i];
                sum += weights[j][i] * samples[j][i];
            }
        }
        // The weights need not sum to 256: the correction adds what is missing, in proportion.
        correction = (sum * (256 - weightSum) + 128) >> 8;
        const int32_t largest = settings.src10bit ? 1023 : 255;
        value = std::clamp((sum + correction + 128) >> 8, 0, largest);
        findBounds(samples, settings.clampType % 2 != 0, largest);
        if (settings.clampType > 0) value = value < low ? low : value > high ? high : value;
    }

private:
    void findBounds(const LumaBlock& samples, bool ofAll, int32_t largest) {
        const size_t first = ofAll ? 0 : 1;
        low = largest;
        high = 0;
        for (size_t j = first; j < 4 - first; ++j) {
            for (size_t i = first; i < 4 - first; ++i) {
                low = std::min(low, samples[j][i]);
                high = std::max(high, samples[j][i]);
            }
        }
    }
};

/// The four samples of a bilinear interpolation.
struct Quad {
    int32_t leftTop;
    int32_t rightTop;
    int32_t leftBottom;
    int32_t rightBottom;
};

/// One bilinear interpolation with what the state keeps of it.
struct Bilinear {
    Quad samples;
    int32_t fractionX;  ///< in 1/256 luma sample, from the left sample
    int32_t fractionY;
    int32_t stepX = 0;  ///< 1 where the cell spans two luma samples
    int32_t stepY = 0;
    int32_t leftTopWeight;
    int32_t rightTopWeight;
    int32_t leftBottomWeight;
    int32_t rightBottomWeight;
    int32_t value;

    /// Between luma samples.
    Bilinear(const Quad& quad, int fracL, int fracT, const GdcSettings& settings)
        : samples(quad), fractionX(fracL), fractionY(fracT) {
        interpolate(settings);
    }

    /// Between chroma samples, whose cells begin at every second luma sample: `x` and `y` are luma positions.
    Bilinear(const Quad& quad, const SourcePosition& x, const SourcePosition& y, const GdcSettings& settings)
        : samples(quad), fractionX(x.fraction + (x.index & 1 ? 0 : 256)), fractionY(y.fraction), stepX(1) {
        if (settings.yuvFormat != 0) {
            stepY = 1;
            if ((y.index & 1) == 0) fractionY += 256;
        }
        interpolate(settings);
    }

private:
    void interpolate(const GdcSettings& settings) {
        const int32_t topWeight = (settings.is420() ? 256 << stepY : 256) - fractionY;
        const int32_t leftWeight = (256 << stepX) - fractionX;
        const int32_t half = 128 << stepY;
        rightTopWeight = (topWeight * fractionX + half) >> (stepY + 8);
        leftTopWeight = (leftWeight * topWeight + half) >> (stepY + 8);
        leftBottomWeight = leftWeight - leftTopWeight;
        rightBottomWeight = fractionX - rightTopWeight;
        const int32_t sum = leftBottomWeight * samples.leftBottom + leftTopWeight * samples.leftTop +
                            rightTopWeight * samples.rightTop + rightBottomWeight * samples.rightBottom;
        value = static_cast<uint16_t>((sum + ((256 << stepX) >> 1)) >> (stepX + 8));
    }
};

}  // namespace vantor
