/// @file
/// Reduction: bicubic luma, bilinear chroma, on three threads and the caller.
#pragma once

#include "scaler/slice_args.h"

#pragma GCC visibility push(default)

/// Scales one NV12 region into another and returns when all of it is written. Nothing is checked or reported.
///
/// Rows of both planes are `srcStride` (`dstStride`) bytes apart, for chroma as well: an interleaved UV row
/// is as long as a luma row. The crop rectangles, in luma samples, are the regions; the picture sizes are not
/// looked at. Chroma regions are half as large, begin at the crop column with bit 0 cleared, and half the
/// luma's byte offset down: an odd crop row lands half a row into the plane. Both planes are always written,
/// and read; `singlePass` false computes the same chroma a second time.
void Interpolate_process(unsigned char* srcY, unsigned char* srcUV, unsigned char* dstY, unsigned char* dstUV,
                         int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
                         int dstStride, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight,
                         int dstCropX, int dstCropY, int dstCropWidth, int dstCropHeight, bool singlePass);

/// Thread entries for bands 1 to 4 of both planes. `args` is a LumaSliceArgs, and is returned.
void* interpolateBCY_neon_thread1(void* args);
/// Band 2.
void* interpolateBCY_neon_thread2(void* args);
/// Band 3.
void* interpolateBCY_neon_thread3(void* args);
/// Band 4.
void* interpolateBCY_neon_thread4(void* args);

/// Thread entries for chroma alone. `args` is a ScaleSliceArgs, or a LumaSliceArgs whose first eight fields
/// are chroma arguments, and is returned. The fourth works on band 3, like the third: kept for its users.
void* interpolateBLUV_neon_thread1(void* args);
/// Band 2.
void* interpolateBLUV_neon_thread2(void* args);
/// Band 3.
void* interpolateBLUV_neon_thread3(void* args);
/// Band 4.
void* interpolateBLUV_neon_thread4(void* args);

#pragma GCC visibility pop
