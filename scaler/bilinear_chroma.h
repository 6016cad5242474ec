/// @file
/// Bilinear resampling of an interleaved UV plane, in bands of destination rows.
#pragma once

#pragma GCC visibility push(default)

/// Quarter bands 1 to 4: rows from (band - 1) x dstHeight / 4 to band x dstHeight / 4 - 1, each bound
/// truncated. Widths count UV pairs, so a row of the source region is 2 x `srcWidth` bytes and one of the
/// destination region 2 x `dstWidth`; heights count chroma rows, strides are in bytes. Output pair 0 lies on
/// source pair 0; the last pair and row are repeated beyond the region. Sizes of zero or less write nothing.
/// All return 0.
int interpolateBLUV_neon_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride);
/// Band 2.
int interpolateBLUV_neon_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride);
/// Band 3.
int interpolateBLUV_neon_3(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride);
/// Band 4.
int interpolateBLUV_neon_4(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                           int dstWidth, int dstHeight, int dstStride);

#pragma GCC visibility pop

/// The vector kernel: 16 x `groups` bytes, eight UV pairs per group, of one output row (none for `groups` of
/// 0 or less). `phaseX` (0 to 31) and `tapX` (byte offset of the left source pair) hold one entry per output
/// pair, `row0` and `row1` are the two source rows, `phaseY` is 0 to 31. Not exported from the shared
/// library.
void bilinear_neon(const unsigned char* phaseX, int groups, const unsigned int* tapX,
                   const unsigned char* row0, const unsigned char* row1, unsigned char* out, int phaseY);
