// Planes of pictures, and the samples of a source around one position in it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "gdc_model/gdc_frame.h"
#include "gdc_model/sampling.h"

namespace vantor {

/// Planes of a source or output picture: luma rows `stride` samples apart. Chroma row r begins (r x stride) /
/// 2 chroma samples into its plane, and its samples are `chromaStep` apart.
template <typename Sample>
struct GdcPlanes {
    Sample* y;
    Sample* u;
    Sample* v;
    int stride;
    int chromaStep;

    /// Three consecutive planes.
    GdcPlanes(Sample* samples, int width, int height, const GdcSettings& settings)
        : y(samples), u(samples), v(samples), stride(width), chromaStep(1) {
        // Pictures of no samples are never read, whatever their stated size.
        if (width < 1 || height < 1) return;
        const std::ptrdiff_t luma = std::ptrdiff_t{width} * height;
        u += luma;
        v += luma + (settings.is420() ? luma / 4 : luma / 2);
    }

    /// Luma, and pairs of chroma or none; of even width.
    GdcPlanes(Sample* luma, Sample* pairs, int width)
        : y(luma), u(pairs), v(pairs ? pairs + 1 : nullptr), stride(width), chromaStep(2) {}

    std::ptrdiff_t chromaRow(int row) const { return std::ptrdiff_t{row} * stride / 2 * chromaStep; }
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

/// The sixteen luma samples around a position; zero outside the source.
template <typename Sample>
LumaBlock lumaBlock(const GdcFrame& frame, const GdcPlanes<const Sample>& src, const PixelSource& at) {
    LumaBlock block{};
    if (!at.inside) return block;
    const std::array<int, 4> columns = lumaTaps(at.x.index, frame.x.sourceSize);
    const std::array<int, 4> rows = lumaTaps(at.y.index, frame.y.sourceSize);
    for (size_t j = 0; j < 4; ++j) {
        const Sample* row = src.y + std::ptrdiff_t{rows[j]} * src.stride;
        for (size_t i = 0; i < 4; ++i) block[j][i] = row[columns[i]];
    }
    return block;
}

/// The four samples of one chroma plane around a position; neutral outside the source.
template <typename Sample>
Quad chromaQuad(const GdcFrame& frame, const GdcPlanes<const Sample>& src, const Sample* plane,
                const PixelSource& at) {
    if (!at.inside) {
        const int neutral = frame.settings.src10bit ? 512 : 128;
        return {neutral, neutral, neutral, neutral};
    }
    const ChromaTaps columns = chromaTaps(at.x, frame.x.sourceSize);
    const ChromaTaps rows = frame.settings.is420() ? chromaTaps(at.y, frame.y.sourceSize)
                                                   : foldChroma(at.y.index, frame.y.sourceSize);
    const Sample* top = plane + src.chromaRow(rows.first);
    const Sample* bottom = plane + src.chromaRow(rows.second);
    const std::ptrdiff_t left = std::ptrdiff_t{columns.first} * src.chromaStep;
    const std::ptrdiff_t right = std::ptrdiff_t{columns.second} * src.chromaStep;
    return {top[left], top[right], bottom[left], bottom[right]};
}

/// Whether an output pixel has chroma of its own.
inline bool hasChroma(const GdcSettings& settings, int ox, int oy) {
    return (ox & 1) == 0 && (!settings.is420() || (oy & 1) == 0);
}

}  // namespace vantor
