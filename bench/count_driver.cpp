// vantor-count FAMILY ROWS: runs one family of kernels once, on the caller's thread, so that its instructions
// can be counted, and prints how many pixels (pairs, for chroma) came out. Runs of different heights differ
// by what the pixels cost and by nothing else: the pictures are made for the largest in both.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"
#include "scaler/bicubic_luma.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/interp4.h"
#include "scaler/interp4_filter.h"
#include "published/generator.h"

namespace {

constexpr int kWidth = 1920;     ///< of all sources, and of warps
constexpr int kReduced = 1280;   ///< 1.5:1
constexpr int kEnlarged = 2880;  ///< 1:1.5
constexpr int kMaxRows = 512;    ///< of output

/// Room for the largest NV12 source or output.
using Samples = std::vector<uint8_t>;
Samples src(kEnlarged* kMaxRows * 3 / 2);
Samples dst(src.size());

int luma(int rows) {
    for (auto* band :
         {interpolateBCY_neon_1, interpolateBCY_neon_2, interpolateBCY_neon_3, interpolateBCY_neon_4})
        band(src.data(), dst.data(), kWidth, rows * 3 / 2, kWidth, kReduced, rows, kReduced);
    return kReduced * rows;
}

int chroma(int rows) {
    for (auto* band :
         {interpolateBLUV_neon_1, interpolateBLUV_neon_2, interpolateBLUV_neon_3, interpolateBLUV_neon_4})
        band(src.data(), dst.data(), kWidth / 2, rows * 3 / 2, kWidth, kReduced / 2, rows, kReduced);
    return kReduced / 2 * rows;
}

int interp4(int rows, bool lumaOnly) {
    const int srcRows = rows * 2 / 3;
    vantor::Interp4Filter filter = vantor::makeInterp4Filter();
    NV12_Interp4_Interpolate(src.data(), src.data() + kWidth * srcRows, dst.data(),
                             dst.data() + kEnlarged * rows, filter.data(), kWidth, srcRows, 0, 0, kWidth,
                             srcRows, kEnlarged, rows, 0, 0, kEnlarged, rows, lumaOnly);
    return kEnlarged * rows;
}

int interp4Luma(int rows) {
    return interp4(rows, true);
}

int interp4Nv12(int rows) {
    return interp4(rows, false);
}

/// Displacements of up to a few pixels, different at every node.
int warp(int rows) {
    hardware::vantorClient::_GDCGrid grid;
    for (int k = 0; k < 33 * 33; ++k) {
        const int bend = (k % 33 - 16) * (k / 33 - 16);
        grid.dX[k] = 40 * bend;
        grid.dY[k] = -40 * bend;
    }
    hardware::vantorClient::BufferData from, to;
    from.y = src.data();
    to.y = dst.data();
    from.width = to.width = kWidth;
    from.height = to.height = rows;
    to.cropRight = kWidth - 1;
    to.cropBottom = rows - 1;
    const int32_t status = hardware::vantorClient::runGDCGrid(to, from, grid, hardware::IMAGE_FORMAT_NV12,
                                                              hardware::GDC_C_MODEL);
    if (status != 0) {
        std::fprintf(stderr, "vantor-count: a warp of %dx%d failed\n", kWidth, rows);
        std::exit(1);
    }
    return kWidth * rows;
}

struct Family {
    const char* name;
    int (*run)(int rows);
};

constexpr Family kFamilies[] = {{"luma", luma},
                                {"chroma", chroma},
                                {"interp4-luma", interp4Luma},
                                {"interp4-nv12", interp4Nv12},
                                {"warp", warp}};

}  // namespace

int main(int argc, char** argv) {
    const int rows = argc == 3 ? std::atoi(argv[2]) : 0;
    for (const Family& family : kFamilies) {
        if (argc < 2 || std::strcmp(family.name, argv[1]) != 0) continue;
        if (rows < 64 || rows > kMaxRows || rows % 12 != 0) break;
        uint32_t state = 1;
        for (uint8_t& sample : src) {
            state = vantor::generatorStep(state);
            sample = static_cast<uint8_t>(state >> 24);
        }
        std::printf("%d\n", family.run(rows));
        return 0;
    }
    std::fprintf(stderr,
                 "usage: vantor-count luma|chroma|interp4-luma|interp4-nv12|warp ROWS (a multiple of 12, "
                 "72 to %d)\n",
                 kMaxRows / 12 * 12);
    return 2;
}
