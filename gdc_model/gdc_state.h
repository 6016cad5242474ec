/// @file
/// The model's process-wide state, and its stand-alone helpers.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

/// @name State
/// Process-wide, 0 at first, and without a lock: not thread-safe, one model run at a time per process. Every
/// run of GdcCore loads it; afterwards it can be read. Variables marked "last" hold what the run's last
/// pixel, or its last bilinear interpolation, left.
/// @{
extern int m_curGrid_dX[33]
                       [33];  ///< displacements of the grid nodes, 33 rows of 33: a copy of the run's grid
extern int m_curGrid_dY[33][33];  ///< the same, down
extern int m_nWidth;              ///< source width, in luma samples
extern int m_nHeight;             ///< source height
extern int m_OrgWidth;            ///< the same as m_nWidth
extern int m_OrgHeight;           ///< the same as m_nHeight
extern int m_PxcStrideLum;        ///< source luma stride, in samples
extern int m_PxcStrideChroma;     ///< twice the source chroma stride
extern int m_WrtStrideLum;        ///< output luma stride, in samples
extern int m_WrtStrideChroma;     ///< twice the output chroma stride
extern int m_nCropStartX;         ///< added to the output position before scaling; 0
extern int m_nCropStartY;         ///< the same, for rows
extern int m_bMirrorX;            ///< non-zero mirrors the virtual frame; 0
extern int m_bMirrorY;            ///< the same, top to bottom
extern int m_bCropBypass;         ///< never read or written by the model
extern int m_nScaleX;  ///< output position to virtual position, with m_nScaleShifterX + 8 fraction bits
extern int m_nScaleY;  ///< the same, for rows
extern int m_nScaleShifterX;  ///< fraction bits of m_nScaleX, less 8
extern int m_nScaleShifterY;  ///< fraction bits of m_nScaleY, less 8
extern int m_nInvScaleX;      ///< displacement to 1/256 source sample, with 13 fraction bits
extern int m_nInvScaleY;      ///< the same, for rows
extern int m_OutScaleX;       ///< output step in 1/128 source sample; 128 is 1:1
extern int m_OutScaleY;       ///< the same, for rows
extern int m_nOutCropStartX;  ///< the output region: first column
extern int m_nOutCropStartY;  ///< first row
extern int m_nOutCropWidth;   ///< columns
extern int m_nOutCropHeight;  ///< rows
extern int m_interpType;  ///< 0 nearest, 1 and 2 bilinear, 3 bicubic luma; from 2 on chroma is bilinear; 3
extern int m_clampType;   ///< 0 none, even: de-ringing by the four centre taps, odd: by all sixteen; 2
extern int m_YuvFormat;   ///< 1 is 4:2:0, any other value 4:2:2; 1
extern int m_Src10bitFormat;  ///< non-zero for a source of 10-bit samples; 0
extern int m_Dst10bitFormat;  ///< non-zero for an output of 10-bit samples; 0
extern int m_VirtCordX;       ///< last virtual position, 0 to 16384
extern int m_VirtCordY;       ///< 0 to 12288
extern int m_VirtStepShiftX;  ///< 8 from the first pixel on
extern int m_VirtStepShiftY;  ///< 6 from the first pixel on
extern int m_LT_val;          ///< samples of the last bilinear interpolation: left top
extern int m_RT_val;          ///< right top
extern int m_LB_val;          ///< left bottom
extern int m_RB_val;          ///< right bottom
extern int m_dltL;            ///< its fraction from the left, in 1/256 luma sample
extern int m_dltT;            ///< its fraction from the top
extern int m_StepXShifter;    ///< 1 where its cell is two luma samples wide
extern int m_StepYShifter;    ///< 1 where its cell is two luma samples high
/// @}

/// value / 2^shift, rounded to nearest, ties towards plus infinity.
int64_t hwround64_(int64_t value, int shift);

/// What the two dithers work on: planes of 16-bit samples, Y, then U, then V. Each has a size and a packing
/// flag of its own; a packing flag of 1 halves the width, towards zero.
struct DitherParams {
    int ditherWidth;       ///< Dither's width
    int ditherHeight;      ///< Dither's height
    int ditherPacking;     ///< Dither's packing flag
    int invDitherWidth;    ///< InvDither's width
    int invDitherHeight;   ///< InvDither's height
    int invDitherPacking;  ///< InvDither's packing flag
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
