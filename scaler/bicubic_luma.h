/// @file
/// Bicubic resampling of one 8-bit plane, in bands of destination rows.
#pragma once

#pragma GCC visibility push(default)

/// @name Whole family
/// `src` and `dst` point at the first sample of the source and destination regions: `srcHeight` rows of
/// `srcWidth` bytes, `srcStride` bytes apart, and `dstHeight` rows of `dstWidth` bytes, `dstStride` bytes
/// apart. Output sample 0 lies on source sample 0; rows and columns beyond the region repeat its edge. One
/// exception: in sources one or two columns wide the byte to the left of each row is read, as the leftmost
/// tap. Sizes of zero or less write nothing. All return 0.
/// @{

/// All rows. Positions in 1/64 sample, and so phases to 63, in a cubic that counts phases in 1/32: between
/// two samples its parameter runs to almost 2. Kept for its users.
int interpolateBCY(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                   int dstWidth, int dstHeight, int dstStride);

/// The upper half of the rows, 0 to dstHeight / 2 - 1. Positions in 1/32 sample.
int interpolateBCY_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                     int dstWidth, int dstHeight, int dstStride);

/// The lower half of the rows, from dstHeight / 2 on. Positions in 1/32 sample.
int interpolateBCY_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                     int dstWidth, int dstHeight, int dstStride);

/// All rows. Positions in 1/32 sample.
int interpolateBCY_neon(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                        int dstWidth, int dstHeight, int dstStride);

/// Quarter bands 1 to 4: rows from (band - 1) x dstHeight / 4 to band x dstHeight / 4 - 1, each bound
/// truncated. Positions in 1/8192 sample, phases of 1/32.
int interpolateBCY_neon_1(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride);
/// Band 2.
int interpolateBCY_neon_2(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride);
/// Band 3.
int interpolateBCY_neon_3(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride);
/// Band 4.
int interpolateBCY_neon_4(unsigned char* src, unsigned char* dst, int srcWidth, int srcHeight, int srcStride,
                          int dstWidth, int dstHeight, int dstStride);
/// @}

/// The cubic of p[0] to p[3] at `t` (0 to 63) in 1/32 of the way from p[1] to p[2], clamped to 0..255.
int cubicinterpolate(unsigned char* p, int t);

#pragma GCC visibility pop

/// The vector kernel: 8 x `groups` bytes of one output row (none for `groups` of 0 or less). `row0` to `row3`
/// are the four source rows, `phaseX` (0 to 31) and `tapX` (source column of the first of four taps, taken as
/// unsigned 16-bit) one entry per output column, `phaseY` is 0 to 31. Not exported from the shared library.
void allocate_cubicinterpolate_opt_asm_2(unsigned char* row0, const short* phaseX, unsigned char* out,
                                         int groups, unsigned char* row1, unsigned char* row2,
                                         unsigned char* row3, int phaseY, const short* tapX);
