/// @file
/// The arguments that every band kernel takes.
#pragma once

/// The eight arguments of one band, in the order in which the kernels take them. Widths count samples: luma
/// pixels, or UV pairs for chroma. Strides are in bytes.
struct ScaleSliceArgs {
    unsigned char* src;  ///< first sample of the source region
    unsigned char* dst;  ///< first sample of the destination region
    int srcWidth;        ///< of the region
    int srcHeight;       ///< of the region
    int srcStride;       ///< from row to row
    int dstWidth;        ///< of the region
    int dstHeight;       ///< of the region
    int dstStride;       ///< from row to row
};

/// The luma arguments of one band and, after them, the chroma arguments of the same band. A pointer to it is
/// also a pointer to its first eight fields.
struct LumaSliceArgs {
    ScaleSliceArgs luma;     ///< of the luma band
    ScaleSliceArgs* chroma;  ///< of the chroma band
};
