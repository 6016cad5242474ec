// The model's process-wide state, and its stand-alone helpers.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

/// @name State
/// Process-wide, 0 at first, and without a lock: one model run at a time in a process. Every run of GdcCore
/// loads it; afterwards it can be read. Variables marked "last" hold what the run's last pixel, or its last
/// bilinear interpolation, left.
/// @{
extern int m_curGrid_dX[33]
                       [33];  ///< displacements of the grid nodes, 33 rows of 33: a copy of the run's grid
extern int m_curGrid_dY[33][33];
extern int m_nWidth;  ///< source size, in luma samples
extern int m_nHeight;
extern int m_OrgWidth;
extern int m_OrgHeight;
extern int m_PxcStrideLum;     ///< source luma stride, in samples
extern int m_PxcStrideChroma;  ///< twice the source chroma stride
extern int m_WrtStrideLum;     ///< output luma stride, in samples
extern int m_WrtStrideChroma;  ///< twice the output chroma stride
extern int m_nCropStartX;      ///< added to the output position before scaling; 0
extern int m_nCropStartY;
extern int m_bMirrorX;  ///< non-zero mirrors the virtual frame; 0
extern int m_bMirrorY;
extern int m_bCropBypass;  ///< never read or written by the model
extern int m_nScaleX;      ///< output position to virtual position, with m_nScaleShifterX + 8 fraction bits
extern int m_nScaleY;
extern int m_nScaleShifterX;
extern int m_nScaleShifterY;
extern int m_nInvScaleX;  ///< displacement to 1/256 source sample, with 13 fraction bits
extern int m_nInvScaleY;
extern int m_OutScaleX;  ///< output step in 1/128 source sample; 128 is 1:1
extern int m_OutScaleY;
extern int m_nOutCropStartX;  ///< the output region
extern int m_nOutCropStartY;
extern int m_nOutCropWidth;
extern int m_nOutCropHeight;
extern int m_interpType;  ///< 0 nearest, 1 and 2 bilinear, 3 bicubic luma; from 2 on chroma is bilinear; 3
extern int m_clampType;   ///< 0 none, even: de-ringing by the four centre taps, odd: by all sixteen; 2
extern int m_YuvFormat;   ///< 1 is 4:2:0, any other value 4:2:2; 1
extern int m_Src10bitFormat;  ///< non-zero for 10-bit samples; 0
extern int m_Dst10bitFormat;
extern int m_VirtCordX;       ///< last virtual position, 0 to 16384
extern int m_VirtCordY;       ///< 0 to 12288
extern int m_VirtStepShiftX;  ///< 8 and 6 from the first pixel on
extern int m_VirtStepShiftY;
extern int m_LT_val;  ///< samples of the last bilinear interpolation
extern int m_RT_val;
extern int m_LB_val;
extern int m_RB_val;
extern int m_dltL;  ///< its fractions, in 1/256 luma sample
extern int m_dltT;
extern int m_StepXShifter;  ///< 1 where its cell is two luma samples wide (high)
extern int m_StepYShifter;
/// @}

/// value / 2^shift, rounded to nearest, ties towards plus infinity.
int64_t hwround64_(int64_t value, int shift);

/// What the two dithers work on: planes of 16-bit samples, Y, then U, then V. Each has a size and a packing
/// flag of its own; a packing flag of 1 halves the width, towards zero.
struct DitherParams {
    int ditherWidth;
    int ditherHeight;
    int ditherPacking;
    int invDitherWidth;
    int invDitherHeight;
    int invDitherPacking;
    int yuvFormat;  ///< 1: chroma of half width and height, V at w x h x 5/4; else of half width, V at w x h
                    ///< x 3/2
};

extern "C" {
/// Adds the 2 x 2 offsets {3, 0; 1, 2} (row parity first) to every sample, in place, and clamps to 0..1023.
/// Rows shorter than two samples have no chroma.
void Dither(unsigned short* samples, const DitherParams* params);

/// Subtracts the same offsets and clamps: undoes Dither but where that clamped.
void InvDither(unsigned short* samples, const DitherParams* params);
}

#pragma GCC visibility pop
