// Planes of pictures, and the samples of a source around one position in it.
#pragma once

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/sampling.h"

namespace vantor {

/// Planes of a source or output picture. Strides count samples.
template <typename Sample>
struct GdcPlanes {
    Sample* y;
    Sample* u;  ///< null where there is no chroma
    Sample* v;
    std::ptrdiff_t yStride;
    std::ptrdiff_t uTwoRows;  ///< two chroma strides: chroma row r begins (r x uTwoRows) / 2 samples into U
    std::ptrdiff_t vTwoRows;
    int chromaStep;  ///< from one chroma sample to the next; 0 where all of them are the first
    int width;
    int height;

    /// Three consecutive planes. With an odd width every second chroma row begins half a sample early.
    static GdcPlanes consecutive(Sample* samples, int width, int height, const GdcSettings& settings) {
        GdcPlanes planes{samples, samples, samples, width, width, width, 1, width, height};
        // Pictures of no samples are never read, whatever their stated size.
        if (width < 1 || height < 1) return planes;
        const std::ptrdiff_t luma = std::ptrdiff_t{width} * height;
        planes.u += luma;
        planes.v += luma + (settings.is420() ? luma / 4 : luma / 2);
        return planes;
    }

    /// Luma, and pairs of chroma or none, of even width and without gaps.
    static GdcPlanes pairs(Sample* luma, Sample* pairs, int width, int height) {
        const std::ptrdiff_t twoRows = 2 * std::ptrdiff_t{width};
        return {luma, pairs, pairs ? pairs + 1 : nullptr, width, twoRows, twoRows, 2, width, height};
    }

    Sample* lumaRow(int row) const { return y + row * yStride; }
    Sample* uRow(int row) const { return u + row * uTwoRows / 2; }
    Sample* vRow(int row) const { return v + row * vTwoRows / 2; }
};

using GdcSource = GdcPlanes<const uint16_t>;

/// Where an output pixel's samples come from.
struct PixelSource {
    SourcePosition x;
    SourcePosition y;
    bool inside;
};

inline PixelSource pixelSource(const GdcFrame& frame, int32_t x, int32_t y) {
    const bool inside = isInside(x, frame.x.sourceSize) && isInside(y, frame.y.sourceSize);
    return {SourcePosition(x, inside), SourcePosition(y, inside), inside};
}

/// The sixteen luma samples around a position; zero outside the frame's source. Where the planes are smaller
/// than that, their last column and row are repeated.
template <typename Sample>
LumaBlock lumaBlock(const GdcFrame& frame, const GdcPlanes<const Sample>& src, const PixelSource& at) {
    LumaBlock block{};
    if (!at.inside) return block;
    const std::array<int, 4> columns = lumaTaps(at.x.index, frame.x.sourceSize);
    const std::array<int, 4> rows = lumaTaps(at.y.index, frame.y.sourceSize);
    for (size_t j = 0; j < 4; ++j) {
        const Sample* row = src.lumaRow(std::min(rows[j], src.height - 1));
        for (size_t i = 0; i < 4; ++i) block[j][i] = row[std::min(columns[i], src.width - 1)];
    }
    return block;
}

/// The chroma samples around a position; neutral outside the frame's source.
struct ChromaQuads {
    Quad u;
    Quad v;
};

template <typename Sample>
ChromaQuads chromaQuads(const GdcFrame& frame, const GdcPlanes<const Sample>& src, const PixelSource& at) {
    if (!at.inside) {
        const int neutral = frame.settings.src10bit ? 512 : 128;
        const Quad quad{neutral, neutral, neutral, neutral};
        return {quad, quad};
    }
    // The taps of odd sizes may lie beyond a plane's end, those of planes smaller than the frame's source may
    // not.
    const auto inPlane = [](ChromaTaps taps, int lumaSize, int frameSize) {
        const int last = lumaSize == frameSize ? INT_MAX : lumaSize / 2 - 1;
        return ChromaTaps{std::min(taps.first, last), std::min(taps.second, last)};
    };
    const ChromaTaps columns = inPlane(chromaTaps(at.x, frame.x.sourceSize), src.width, frame.x.sourceSize);
    const ChromaTaps rows = inPlane(frame.settings.is420() ? chromaTaps(at.y, frame.y.sourceSize)
                                                           : foldChroma(at.y.index, frame.y.sourceSize),
                                    src.height, frame.y.sourceSize);
    const auto quad = [&](const Sample* top, const Sample* bottom) {
        const std::ptrdiff_t left = std::ptrdiff_t{columns.first} * src.chromaStep;
        const std::ptrdiff_t right = std::ptrdiff_t{columns.second} * src.chromaStep;
        return Quad{top[left], top[right], bottom[left], bottom[right]};
    };
    return {quad(src.uRow(rows.first), src.uRow(rows.second)),
            quad(src.vRow(rows.first), src.vRow(rows.second))};
}

/// Whether an output pixel has chroma of its own.
inline bool hasChroma(const GdcSettings& settings, int ox, int oy) {
    return (ox & 1) == 0 && (!settings.is420() || (oy & 1) == 0);
}

}  // namespace vantor
