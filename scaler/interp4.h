/// @file
/// Enlargement: a four-tap table filter for luma, bilinear chroma, on three threads and the caller.
#pragma once

#pragma GCC visibility push(default)

/// Scales a region of an NV12 picture to a whole destination picture and returns when all of it is written.
/// Nothing is checked or reported. Rows of both planes are the picture's width apart: the strides are not
/// looked at. `lumaOnly` leaves the destination's chroma untouched, and chroma pointers may then be null.
void Interp4_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                     int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight, int dstStride,
                     int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, bool lumaOnly);

/// Scales the part of that picture which lies in one rectangle of the destination: `bandWidth` columns from
/// `bandX`, `bandHeight` rows from `bandY`; of the chroma, rows bandY / 2 to (bandY + bandHeight) / 2 - 1 and
/// pairs `bandX` (not halved) to (bandX + bandWidth) / 2 - 1.
///
/// `coefficients` holds 32 rows, one per phase of 1/32 source pixel, of four weights in 1/4096 for the taps
/// at source positions i - 1 to i + 2. Positions are kept between source columns 1 and srcWidth - 2.03 (rows
/// alike), so that all taps lie inside; in sources lower or narrower than 4 the edge is repeated. Where an
/// odd source size puts a chroma neighbour past the plane's last byte, (srcWidth x srcHeight) >> 1 bytes,
/// the nearer sample is used instead. Sizes of zero or less write nothing. Returns 0.
int NV12_Interp4_Interpolate(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY,
                             unsigned char* dstUV, short* coefficients, int srcWidth, int srcHeight,
                             int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, int dstWidth,
                             int dstHeight, int bandX, int bandY, int bandWidth, int bandHeight,
                             bool lumaOnly);

#pragma GCC visibility pop
