// Frames in memory and in files: where their planes lie, and how one becomes another.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

#include "tools/vantor/picture/picture.h"

namespace vantor::tool {

/// How a frame lies in a file or in memory. A luma plane comes first, of `sliceHeight` rows that begin
/// `stride` bytes apart; the picture is in the first rows, at the left. NV12 and NV21 go on with a plane of
/// pairs, of half as many rows of the same stride; I420 with two planes, of half as many rows of half the
/// stride. Halves are rounded up. RGB has one plane, of triples. P010 is as NV12 of twice the width.
struct FrameShape {
    PixelFormat format;
    Size size;
    int stride;
    int sliceHeight;

    size_t bytes() const;
    bool isPacked() const;
};

/// The shape without padding.
FrameShape packedShape(PixelFormat format, Size size);

/// Where the planes of a frame lie in memory that somebody else owns.
struct Planes {
    PixelFormat format;
    Size size;
    uint8_t* luma;  ///< or RGB triples
    int lumaStride;
    uint8_t* chroma = nullptr;  ///< pairs, or I420's U
    uint8_t* second = nullptr;  ///< I420's V
    int chromaStride = 0;

    /// Of chroma, in samples of each colour.
    Size chromaSize() const { return {(size.width + 1) / 2, (size.height + 1) / 2}; }
};

Planes planesIn(const FrameShape& shape, uint8_t* bytes);
Planes planesOf(Picture& picture);

/// Bytes from the beginning of a frame to the end of its last sample.
size_t bytesToLastSample(const FrameShape& shape);

/// Calls `use` with every stretch of samples, in the order of a packed frame.
void forEachStretch(const FrameShape& shape, uint8_t* frame,
                    const std::function<void(const uint8_t* bytes, size_t count)>& use);

/// Which YUV encodes RGB.
struct YuvColor {
    bool isBt709 = false;      ///< else BT.601
    bool isFullRange = false;  ///< else luma from 16 to 235 and chroma from 16 to 240
};

/// "BT.601, limited range"
const char* toString(const YuvColor& color);

/// Makes the picture that the library works on, NV12 or gray, from a frame. A larger `to` repeats the last
/// column and row. A plane that both share is left alone, but for the repeating.
void toWorking(const Planes& from, const Planes& to, const YuvColor& color);

/// Takes YUV from limited range to full: luma Y to (Y - 16) x 255 / 219, chroma C to 128 + (C - 128) x 255 /
/// 224, rounded to nearest, within 0 to 255.
void expandRange(const Planes& planes);

/// Makes a frame from the picture that the library made, cropped at the right and below where that is larger.
/// A plane that both share is left alone. Gray pictures get neutral chroma.
void fromWorking(const Planes& from, const Planes& to, const YuvColor& color);

}  // namespace vantor::tool
