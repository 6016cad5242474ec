// The requests that vantor selftest computes: the rows of hashes.h. Pictures begin with the generator at
// 65536 width + height; each of their bytes is the next number's top byte, or 255 times its top bit where
// they are extreme. Hashes are 32-bit FNV-1a.
#pragma once

#include <cstdint>

namespace vantor::selftest {

/// runInterpBicubic, chroma behind the luma.
struct Scaling {
    int srcWidth, srcHeight, dstWidth, dstHeight;
    int format;
    int isExtreme;
    uint32_t hash;  ///< of all destination bytes, which begin as 0xA5; so are those of warps
};

/// The luma variants that no other request uses.
struct LumaScaling {
    int srcWidth, srcHeight, dstWidth, dstHeight;
    int positionBits;  ///< 6: interpolateBCY; 5: interpolateBCY_1 and interpolateBCY_2
    int isExtreme;
    uint32_t hash;
};

constexpr int64_t kRaw = -1;

struct Region {
    int left, top, width, height;  ///< all zero: the whole picture
};

/// runGDCGrid in the model.
struct GridWarp {
    int width, height;
    uint32_t seed;
    int64_t amplitude;  ///< nodes, dX and dY in turn, are (x >> 8) mod (2 amplitude + 1) - amplitude; kRaw: x
                        ///< itself
    int format;
    Region region;
    uint32_t hash;
};

/// runGDCMatrix in the model, whole NV12 pictures.
struct MatrixWarp {
    int width, height;
    int16_t matrix[6];
    uint32_t hash;
};

/// GDCRunnerCModel, with one step for all of the output.
struct ModelRun {
    int width, height;
    int16_t matrix[6];
    struct {
        int width, height;
    } whole;
    Region region;
    int clamp;
    uint32_t hash;
};

/// getGridSet.
struct GridSet {
    int width, height;
    double matrix[6];
    int clamp;
    int scales[6];  ///< shifts, scales and inverse scales, across and down
    uint32_t hash;  ///< of the points as 32-bit integers, little-endian
};

}  // namespace vantor::selftest
