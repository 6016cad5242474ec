/// @file
/// Conversion between the clients' two-plane pictures and the model's three planes, and a warp of whole
/// pictures.
#pragma once

#pragma GCC visibility push(default)

/// Splits a packed NV12 picture (Y, then UV pairs, H / 2 rows of W bytes) into Y, U and V planes. U starts at
/// byte W x H, V at W x H + (H / 2) x (W / 2). For odd W a UV row ends with a U byte: rows of U are one byte
/// longer than rows of V, and V starts before U ends. All U rows are written, then all V rows. The pictures
/// do not overlap.
void YUV2PlaneTo3Plane(unsigned char* src, unsigned char* dst, int W, int H);

/// The inverse, with the same counts and offsets.
void YUV3PlaneTo2Plane(unsigned char* src, unsigned char* dst, int W, int H);

/// Warps an NV12 picture of W x H by an affine matrix to one of outWidth x outHeight. `matrix` is a, b (in
/// 1/4096), c (in 1/32 pixel), d, e, f, as for runGDCMatrix. The output step is W / outScaleWidth and H /
/// outScaleHeight source samples, truncated to 1/128 (0 for a divisor of 0); the output begins at column
/// outCropStartX and row outCropStartY of the warped picture. Non-zero `clamp` keeps mapped nodes inside the
/// picture.
void GDCRunnerCModel(short* matrix, unsigned char* src, unsigned char* dst, int W, int H, int outScaleWidth,
                     int outScaleHeight, int outCropStartX, int outCropStartY, int outWidth, int outHeight,
                     int clamp);

#pragma GCC visibility pop
