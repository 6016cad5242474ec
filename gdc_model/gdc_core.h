/// @file
/// The warping engine, bit for bit.
#pragma once

#pragma GCC visibility push(default)

/// Warps a planar 4:2:0 picture of 16-bit samples (8-bit values) by a grid of 33 x 33 displacements.
///
/// `src` holds Y (W x H samples), U from sample W x H on, and V from sample W x H x 5 / 4 on; row r of a
/// chroma plane starts (r x W) / 2 samples into it. `dst` is laid out in the same way for outW x outH: it
/// holds the output region alone. For even sizes that is W x H x 3 / 2 samples. With odd ones the last chroma
/// row reaches further: either picture then takes W x H x 5 / 4 + ((H - 1) / 2 x W) / 2 + (W + 1) / 2 samples
/// (divisions truncate, from left to right).
///
/// `gridDX` and `gridDY` hold the displacements of the 1089 nodes, row by row: a node value v is v x invScale
/// / 16384 in 1/256 source sample. `scaleShifter` and `scale` map an output column (row) to the grid;
/// getGridSet computes them and `invScale`. `outScale` is the output step in 1/128 source sample (128 is
/// 1:1). Columns from outCropStartX and rows from outCropStartY are computed. Pixels from outside the source
/// are black; sources one sample wide or high, into which no tap folds back, are all that sample; an empty
/// region loads the state and writes nothing. The spare arguments are not read.
///
/// Loads the state of gdc_model/gdc_state.h: not thread-safe, one run at a time per process.
void GdcCore(unsigned short* dst, unsigned short* src, int* gridDX, int* gridDY, int W, int H, int spareWidth,
             int spareHeight, int scaleShifterX, int scaleShifterY, int scaleX, int scaleY, int invScaleX,
             int invScaleY, int outScaleX, int outScaleY, int outCropStartX, int outCropStartY, int outW,
             int outH);

#pragma GCC visibility pop
