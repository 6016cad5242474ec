/// @file
/// Geometric transforms of 8-bit NV12 and grayscale pictures. This header and libVantor10 are all a client
/// needs, with C++14 or later.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace hardware {

/// Picture formats.
enum : int32_t {
    IMAGE_FORMAT_GRAYSCALE = 0,  ///< a luma plane
    IMAGE_FORMAT_NV12 = 1,       ///< a luma plane and an interleaved 4:2:0 chroma plane, U first
};

/// Where a warp runs.
enum : int32_t {
    GDC_HW = 0,       ///< on the hardware service
    GDC_C_MODEL = 1,  ///< in the bit-exact software model of the engine
};

/// A namespace of operations: never instantiated. Destinations come before sources. Every operation returns 0
/// for success and -38 for failure (requests to the service also -1), and throws nothing.
class vantorClient {
public:
    /// One picture. Planes are packed: rows lie `width` bytes apart, the luma plane has width x height bytes
    /// and the chroma plane half as many, rounded down. The library never changes a record.
    struct BufferData {
        uint8_t* y = nullptr;    ///< luma plane
        uint8_t* uv = nullptr;   ///< chroma plane; null: it directly follows the luma plane
        int32_t fdY = -1;        ///< descriptor of a shared buffer with the luma plane; negative: none
        int32_t fdUV = -1;       ///< descriptor of a shared buffer with the chroma plane; negative: none
        int32_t width = 0;       ///< in pixels
        int32_t height = 0;      ///< in pixels
        int32_t cropLeft = 0;    ///< region of interest, inclusive: first column
        int32_t cropTop = 0;     ///< first row
        int32_t cropRight = 0;   ///< last column
        int32_t cropBottom = 0;  ///< last row
    };

    /// A warp: the displacements of 33 x 33 nodes, row by row. Node (column k, row r) is at k x width / 32
    /// and r x height / 32 of the output. Values are in 1/256 of a virtual frame of 8192 x 6144, whatever the
    /// picture's size, and the engine halves them: to take an output pixel from d pixels further right, the
    /// value is 256 x d x 16384 / width; from d pixels further down, 256 x d x 16384 / ((8 x height + 3) /
    /// 6).
    struct _GDCGrid {
        int32_t dX[1089];  ///< displacements to the right
        int32_t dY[1089];  ///< displacements down
    };

    /// Connects to the hardware service ("default") and opens the allocator of shared buffers. Comes first:
    /// without it, runCSC and runGDCGrid on GDC_HW crash for NV12 if both pictures give their buffers, as
    /// there is no service to call; else no buffer can be allocated, grayscale needs one too, and requests
    /// fall back to the CPU with -38.
    ///
    /// Counts its calls; the first two connect. Fails with -38, and logs why: no service, no allocator. It
    /// has counted the call all the same.
    static int32_t init();

    /// Counts down. Only one call more than init's closes the allocator; its descriptor value is kept even
    /// so, and a later init does not open it again. Fails with -38, and logs it, if that closing fails.
    static int32_t deinit();

    /// Scales the whole of `src` to the whole of `dst` in software, on three created threads and the
    /// caller's. Looks at planes and sizes only, not at descriptors or regions of interest.
    ///
    /// - Equal sizes are copied.
    /// - If either direction grows: a four-tap table filter for luma, bilinear for chroma.
    /// - Otherwise bicubic for luma, bilinear for chroma.
    ///
    /// NV12 takes both chroma planes, or neither (both null: each follows its luma). When nothing grows and
    /// sizes differ, no pointer is checked, and a single null chroma plane is taken to follow its luma as
    /// well.
    ///
    /// WARNING, grayscale: when nothing grows and sizes differ, chroma is read and WRITTEN all the same, in
    /// the planes `uv`, or after the luma where those are null. Give both grayscale pictures room for width
    /// x height / 2 more bytes.
    ///
    /// Fails with -38: a format that is neither; NV12, equal sizes or growing, with a null luma plane or
    /// exactly one null chroma plane (logged as an error). Sizes of zero or less succeed and write nothing.
    static int32_t runInterpBicubic(const BufferData& dst, const BufferData& src, int32_t format);

    /// Scales `src` to `dst` on the hardware service, region of interest to region of interest. Not
    /// thread-safe: one request at a time per process, and only after init.
    ///
    /// Each picture gives its shared buffers (NV12: `fdY` and `fdUV`, or `fdY` alone for one buffer of luma
    /// and chroma; grayscale: `fdY`, and no `fdUV`), which the service uses as they are; or none (NV12: both
    /// -1; grayscale: both negative), and then its planes are copied through buffers that the library
    /// allocates.
    ///
    /// Sizes are even, 16 x 16 (`dst`: 4 x 4) to 8192 x 8192, factors 0.25 to 8.
    ///
    /// When the service fails, or a buffer cannot be allocated, runInterpBicubic does the work, whole picture
    /// to whole picture, and -38 is returned all the same. Fails also with -38: sizes, format, descriptors;
    /// with -1: a handle could not be created (descriptors given for that picture are then closed). All are
    /// logged.
    ///
    /// WARNING, copied pictures of different sizes: the length of the source's luma is taken from `dst`. A
    /// source with a chroma plane of its own, and any grayscale source, reaches the service cut off where
    /// `dst` is smaller; where it is larger, memory beyond the source is read, and memory beyond its buffer
    /// WRITTEN. NV12 whose chroma follows the luma, and given buffers, are safe.
    ///
    /// WARNING: allocated buffers stay open for the life of the process, one or two descriptors per request.
    ///
    /// WARNING: the fallback reads and writes through the planes. With given buffers and null planes it
    /// crashes for grayscale and for reductions.
    static int32_t runCSC(const BufferData& dst, const BufferData& src, int32_t format);

    /// Warps `src` by a grid to `dst`, which has the same size: 96 x 64 to 8192 x 6144, a multiple of 16
    /// wide, even high. What comes from outside the source is black.
    ///
    /// `dst`'s region of interest selects the pixels that are computed: give cropRight = width - 1 and
    /// cropBottom = height - 1 for all of them.
    ///
    /// WARNING: the model packs the region at its own width and then reads that buffer as a whole picture, so
    /// a region of another size than the picture's comes back scrambled. A smaller one is followed by zeros
    /// (black luma, green chroma), and an empty one is all zero. Of a larger one only the first width x
    /// height x 3 / 2 samples are taken, so that chroma begins with luma, but all of it takes time and
    /// memory; what lies outside the source is black.
    ///
    /// NV12 takes each picture's chroma plane, or null for chroma that follows the luma. Grayscale leaves
    /// chroma alone.
    ///
    /// GDC_C_MODEL computes on the caller's thread, and in state that all of the process shares: not
    /// thread-safe, one warp at a time per process. GDC_HW computes on the hardware service, with the buffers
    /// and hazards of runCSC; when it fails, or a buffer cannot be allocated, `src` is copied to `dst` and
    /// -38 returned all the same.
    ///
    /// WARNING: grayscale planes are not checked. In the model a null `dst.y` gets nothing, with status 0,
    /// whatever `src.y` is; with a `dst.y`, a null `src.y` crashes as soon as a sample of it is read.
    ///
    /// Fails with -38, and logs why: sizes out of range, different or unaligned, unknown format, target or
    /// pair of descriptors, a null luma plane (NV12 in the model). A region so large that its samples cannot
    /// be counted in 32 bits fails with -38 and logs nothing, and so does the model where there is no memory:
    /// it takes some KB, and for overlapping planes and parts of a picture as much as the picture.
    static int32_t runGDCGrid(const BufferData& dst, const BufferData& src, const _GDCGrid& grid,
                              int32_t format, int32_t target);

    /// Warps by an affine matrix: output pixel (x, y) comes from (a x + b y + c, d x + e y + f). `matrix` is
    /// a, b (in 1/4096), c (in 1/32 pixel), d, e, f, never null. The matrix becomes a grid whose nodes have
    /// positions and displacements in whole pixels, so that the picture may wobble by up to half a pixel;
    /// even the identity shifts it by about that much. Everything else is as for runGDCGrid, whose status is
    /// returned.
    static int32_t runGDCMatrix(const BufferData& dst, const BufferData& src, const int16_t* matrix,
                                int32_t format, int32_t target);
};

}  // namespace hardware

#pragma GCC visibility pop
