// Plain per-pixel scaler for 8-bit NV12 pictures, the yardstick for the optimised kernels. Sequential and slow.
#pragma once

#include <cstdint>

namespace reference {

// Cubic scaling of one plane, all rows. positionBits: 13 (1/8192 pixel, 32 phases), 6 (1/64 pixel, 64 phases)
// or 5 (1/32 pixel, 32 phases). For srcWidth 1 and 2 the byte left of every row, row[-1], must be readable.
void luma(const uint8_t* src, uint8_t* dst, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
          int dstStride, int positionBits);

// Bilinear scaling of one interleaved UV plane, all rows; widths in pairs, strides in bytes.
void chroma(const uint8_t* src, uint8_t* dst, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
            int dstStride);

// One band of interp4; coefficients: 32 phases of four weights in 1/4096.
void interp4(const uint8_t* srcY, const uint8_t* srcUV, uint8_t* dstY, uint8_t* dstUV, const short* coefficients,
             int srcWidth, int srcHeight, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, int dstWidth,
             int dstHeight, int bandX, int bandY, int bandWidth, int bandHeight, bool lumaOnly);

// Region of an NV12 picture into a region of another; the picture sizes are not read.
void interpolate(const uint8_t* srcY, const uint8_t* srcUV, uint8_t* dstY, uint8_t* dstUV, int srcWidth, int srcHeight,
                 int srcStride, int dstWidth, int dstHeight, int dstStride, int srcCropX, int srcCropY,
                 int srcCropWidth, int srcCropHeight, int dstCropX, int dstCropY, int dstCropWidth, int dstCropHeight,
                 bool singlePass);

}  // namespace reference
