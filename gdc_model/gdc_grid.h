/// @file
/// Affine maps as grids.
#pragma once

#pragma GCC visibility push(default)

/// A grid node's value; from getGridSet, its displacement.
struct _pos {
    double x;  ///< to the right
    double y;  ///< down
};

/// Turns an affine map of a W x H picture, output to source, into the displacements of 33 x 33 nodes.
///
/// `matrix` is nine doubles, row by row: a, b, c; d, e, f, for (x, y) to (a x + b y + c, d x + e y + f) in
/// pixels; the third row is taken as 0, 0, 1. `grid` takes 1089 points, row by row, as whole numbers:
/// displacements in 1/256 of a virtual frame of 8192 x 6144. Node positions and displacements are rounded to
/// whole pixels on the way, and a displacement of 0 does not give 0: the engine's drivers do the same. The
/// six scale parameters are those that GdcCore takes. Non-zero `clamp` keeps mapped nodes inside the picture.
void getGridSet(int W, int H, double* matrix, _pos* grid, int* shiftX, int* shiftY, int* scaleX, int* scaleY,
                int* invScaleX, int* invScaleY, int clamp);

/// Warps a picture of three 8-bit planes (Y, then U from byte W x H, then V from W x H x 5 / 4) by such a map
/// to one of outWidth x outHeight. The rest is passed on to GdcCore.
void GDCWrapper(unsigned char* src, double* matrix, unsigned char* dst, int W, int H, int outScaleWidth,
                int outScaleHeight, int outScaleX, int outScaleY, int outCropStartX, int outCropStartY,
                int outWidth, int outHeight, int clamp);

#pragma GCC visibility pop
