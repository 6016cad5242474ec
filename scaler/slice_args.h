// The arguments that every band kernel takes.
#pragma once

/// The eight arguments of one band, in the order in which the kernels take them. Widths count samples: luma
/// pixels, or UV pairs for chroma. Strides are in bytes.
struct ScaleSliceArgs {
    unsigned char* src;  ///< first sample of the source region
    unsigned char* dst;  ///< first sample of the destination region
    int srcWidth;
    int srcHeight;
    int srcStride;
    int dstWidth;
    int dstHeight;
    int dstStride;
};

/// The luma arguments of one band and, behind them, the chroma arguments of the same band. A pointer to it is
/// also a pointer to its first eight fields.
struct LumaSliceArgs {
    ScaleSliceArgs luma;
    ScaleSliceArgs* chroma;
};
