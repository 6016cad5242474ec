// Geometric transforms of 8-bit NV12 and grayscale pictures. This header and libVantor10 are all a client
// needs.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace hardware {

/// Picture formats.
enum : int32_t {
    IMAGE_FORMAT_GRAYSCALE = 0,  ///< a luma plane
    IMAGE_FORMAT_NV12 = 1,       ///< a luma plane and an interleaved 4:2:0 chroma plane, U first
};

/// A namespace of operations: never instantiated. Destinations come before sources. Every operation returns 0
/// for success and -38 for failure, and throws nothing.
class vantorClient {
public:
    /// One picture. Planes are packed: rows lie `width` bytes apart, the luma plane has width x height bytes
    /// and the chroma plane half as many, rounded down. The library never changes a record.
    struct BufferData {
        uint8_t* y = nullptr;    ///< luma plane
        uint8_t* uv = nullptr;   ///< chroma plane; null: it starts directly behind the luma plane
        int32_t fdY = -1;        ///< descriptor of a shared buffer with the luma plane; negative: none
        int32_t fdUV = -1;       ///< descriptor of a shared buffer with the chroma plane; negative: none
        int32_t width = 0;       ///< in pixels
        int32_t height = 0;      ///< in pixels
        int32_t cropLeft = 0;    ///< region of interest, inclusive: first column
        int32_t cropTop = 0;     ///< first row
        int32_t cropRight = 0;   ///< last column
        int32_t cropBottom = 0;  ///< last row
    };

    /// Scales the whole of `src` to the whole of `dst` on the processor, on three created threads and the
    /// caller. Looks at planes and sizes only, not at descriptors or regions of interest.
    ///
    /// - Equal sizes are copied.
    /// - If either direction grows: a four-tap table filter for luma, bilinear for chroma.
    /// - Otherwise bicubic for luma, bilinear for chroma.
    ///
    /// NV12 takes both chroma planes, or neither (both null: each behind its luma). When nothing grows and
    /// sizes differ, no pointer is checked, and a single null chroma plane is taken to be behind its luma as
    /// well.
    ///
    /// WARNING, grayscale: when nothing grows and sizes differ, chroma is read and WRITTEN all the same, in
    /// the planes `uv`, or behind the luma where those are null. Give both grayscale pictures room for width
    /// x height / 2 more bytes.
    ///
    /// WARNING, sources one or two columns wide: when nothing grows, one byte before the luma plane is read.
    ///
    /// Fails with -38: a format that is neither; NV12, equal sizes or growing, with a null luma plane or
    /// exactly one null chroma plane (logged as an error). Sizes of zero or less succeed and write nothing.
    static int32_t runInterpBicubic(const BufferData& dst, const BufferData& src, int32_t format);
};

}  // namespace hardware

#pragma GCC visibility pop
