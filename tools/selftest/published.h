// The published results: hashes of what the library makes of generated pictures, from slow programs that
// share no code with it.
#pragma once

#include <cstdint>

namespace vantor::selftest {

/// A step x of the generators: x = 1664525 x + 1013904223 mod 2^32. Pictures begin with x = 65536 width +
/// height; each of their bytes is the next x's top byte, or 255 times its top bit where they are extreme.
/// Hashes are 32-bit FNV-1a.
constexpr uint32_t generatorStep(uint32_t x) {
    return static_cast<uint32_t>(x * uint64_t{1664525} + 1013904223);
}

struct Scaling {
    int srcWidth, srcHeight, dstWidth, dstHeight;
    int format;  ///< of kLuma: position bits, 6 for interpolateBCY, 5 for interpolateBCY_1 and _2
    int isExtreme;
    uint32_t hash;  ///< of all destination bytes, which begin as 0xA5
};

constexpr int64_t kRaw = -1;

struct GridWarp {
    int width, height;
    uint32_t seed;
    int64_t amplitude;  ///< nodes, dX and dY in turn, are (x >> 8) mod (2 amplitude + 1) - amplitude; kRaw: x
                        ///< itself
    uint32_t hash;
};

struct MatrixWarp {
    int width, height;
    int16_t matrix[6];
    uint32_t hash;
};

struct GridSet {
    int width, height;
    double matrix[6];
    int clamp;
    int scales[6];  ///< shifts, scales and inverse scales, across and down
    uint32_t hash;  ///< of the points as 32-bit integers, little-endian
};

/// runInterpBicubic, chroma behind the luma.
constexpr Scaling kEntry[] = {
    {64, 48, 64, 48, 1, 0, 0xc8d923dc},    {33, 21, 33, 21, 0, 0, 0xd9b5d7b5},
    {96, 72, 64, 48, 1, 0, 0x31699b42},    {128, 96, 64, 48, 1, 1, 0xbccca668},
    {180, 150, 48, 40, 1, 0, 0x28fa6c2f},  {157, 113, 101, 67, 1, 0, 0x52cb1d27},
    {157, 113, 101, 67, 0, 1, 0x3f4bcc28}, {40, 37, 40, 23, 1, 0, 0x958b461a},
    {37, 24, 23, 24, 1, 1, 0xe396fdfc},    {40, 30, 23, 17, 1, 0, 0x1c4b175c},
    {31, 14, 12, 7, 1, 1, 0xf8a91d65},     {40, 9, 12, 5, 0, 0, 0x298beb49},
    {6, 6, 5, 3, 1, 0, 0x5d09961b},        {17, 12, 4, 6, 1, 1, 0xc691250a},
    {6, 8, 4, 1, 1, 0, 0xd33b9210},        {9, 10, 5, 2, 0, 1, 0xa26c2f14},
    {4, 4, 9, 7, 1, 0, 0x682f496a},        {4, 4, 9, 7, 0, 1, 0x7bb66c99},
    {6, 6, 12, 3, 1, 0, 0xdfec85f3},       {6, 4, 23, 1, 1, 1, 0xb3326a02},
    {64, 48, 96, 72, 1, 0, 0x9ac433a2},    {32, 24, 64, 48, 1, 1, 0x589c3e76},
    {50, 34, 127, 93, 1, 1, 0x715c1d7b},   {60, 80, 120, 31, 1, 0, 0xf0a7425e},
    {90, 40, 37, 111, 1, 1, 0x4b2e95c5},   {8, 6, 8, 13, 0, 0, 0x95c062b6},
    {160, 8, 181, 11, 1, 1, 0x7e0cb6ad},   {94, 20, 189, 27, 1, 0, 0x2c81e6f6},
};

/// The luma variants that no request uses.
constexpr Scaling kLuma[] = {
    {60, 44, 37, 29, 6, 0, 0x64402a0a},
    {24, 18, 41, 31, 6, 1, 0xc64e3b94},
    {60, 44, 37, 29, 5, 0, 0xcd8b21ea},
    {24, 18, 41, 31, 5, 1, 0x9b2f0999},
};

/// runGDCGrid in the model, whole pictures.
constexpr GridWarp kGridWarps[] = {
    {96, 64, 1, 0, 0x5e6d2e8a},      {96, 64, 2, 300, 0xb1623c1b},      {96, 64, 3, 20000, 0x44ad8a1f},
    {112, 66, 4, 20000, 0x952f1a5b}, {112, 66, 5, 2000000, 0x221538a6}, {96, 200, 6, 20000, 0x787e35b1},
    {160, 90, 7, 300, 0x575a8793},   {160, 90, 8, 2000000, 0xd9f04acb}, {96, 64, 9, 536870911, 0xdfc7edc5},
    {112, 66, 10, kRaw, 0x1a656011}, {160, 90, 11, kRaw, 0x98dbf11d},
};

/// runGDCMatrix in the model, whole pictures.
constexpr MatrixWarp kMatrixWarps[] = {
    {96, 64, {4096, 0, 0, 0, 4096, 0}, 0xf149b746},
    {96, 64, {4034, -711, 201, 711, 4034, -251}, 0x72874a00},
    {112, 66, {4096, 0, 336, 0, 4096, -170}, 0x3093fd11},
    {112, 66, {-4096, 37, 3551, -91, -4096, 2087}, 0x86d24ff6},
    {160, 90, {2048, 0, 1280, 0, 2048, 720}, 0x596d5242},
    {96, 64, {32767, -32768, 32767, -32768, 32767, -32768}, 0x5b27a9c1},
};

/// getGridSet.
constexpr GridSet kGridSets[] = {
    {1920, 1080, {1.0, 0.0, 0.0, 0.0, 1.0, 0.0}, 1, {5, 5, 34953, 46603, 1920, 1440}, 0x733ddc6b},
    {1920, 1080, {0.9, 0.3, -165.7, 0.2, 1.05, 68.1}, 0, {5, 5, 34953, 46603, 1920, 1440}, 0x74b35b40},
    {8192, 6144, {1.3, -0.1, -304.7, -0.2, 0.9, 23.3}, 0, {7, 7, 32768, 32768, 8192, 8192}, 0x91ba6495},
    {97, 65, {0.9, 0.3, 4.1, 0.2, 0.7, 1.3}, 1, {1, 1, 43240, 48396, 97, 87}, 0x3cea0feb},
    {8192, 6144, {1.3, -0.1, -304.7, -0.2, 0.9, 23.3}, 1, {7, 7, 32768, 32768, 8192, 8192}, 0x0474b45c},
    {1, 1, {0.5, 2.5, -1.5, 1.0, 0.0, 2.5}, 0, {0, 0, 2097152, 1572864, 1, 1}, 0xb3b0c78b},
    {4097, 3073, {0.9, -0.05, -201.5, 0.15, 1.3, -72.1}, 0, {7, 7, 65520, 65515, 4097, 4097}, 0x23b882a5},
    {0, 0, {1.0, 0.0, 0.0, 0.0, 1.0, 0.0}, 1, {0, 0, 2147483647, 2147483647, 0, 0}, 0x8a436eb5},
    {8192,
     6144,
     {1000000000.0, -300000.0, 0.5, 3e+38, -3e+38, 0.0},
     0,
     {7, 7, 32768, 32768, 8192, 8192},
     0xf66a4b2f},
};

}  // namespace vantor::selftest
