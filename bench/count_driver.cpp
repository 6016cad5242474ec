// vantor-count FAMILY ROWS: runs one family of kernels once, on the caller's thread, so that its instructions
// can be counted, and prints how many pixels (pairs, for chroma) came out. Runs of different heights differ
// by what the pixels cost and by nothing else: the pictures are made for the largest in both.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"
#include "published/generator.h"
#include "scaler/bicubic_luma.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/interp4.h"
#include "scaler/interp4_filter.h"

namespace {

constexpr int kMaxRows = 480;       ///< of output
constexpr int kRowsMultiple = 120;  ///< so that all heights are even and all ratios exact

/// Of the source and of the output.
struct Widths {
    int src;
    int dst;

    int srcRows(int rows) const { return rows * src / dst; }
};

/// Room for the largest NV12 source and output.
std::vector<uint8_t> src(3840 * (kMaxRows * 15 / 4) * 3 / 2);
std::vector<uint8_t> dst(1920 * kMaxRows * 3 / 2);

/// All four bands, one after another.
int luma(const Widths& widths, int rows) {
    for (auto* band :
         {interpolateBCY_neon_1, interpolateBCY_neon_2, interpolateBCY_neon_3, interpolateBCY_neon_4})
        band(src.data(), dst.data(), widths.src, widths.srcRows(rows), widths.src, widths.dst, rows,
             widths.dst);
    return widths.dst * rows;
}

/// Of a picture with `rows` rows of luma.
int chroma(const Widths& widths, int rows) {
    const int srcRows = widths.srcRows(rows);
    for (auto* band :
         {interpolateBLUV_neon_1, interpolateBLUV_neon_2, interpolateBLUV_neon_3, interpolateBLUV_neon_4})
        band(src.data() + widths.src * srcRows, dst.data() + widths.dst * rows, widths.src / 2, srcRows / 2,
             widths.src, widths.dst / 2, rows / 2, widths.dst);
    return widths.dst / 2 * (rows / 2);
}

int nv12(const Widths& widths, int rows) {
    chroma(widths, rows);
    return luma(widths, rows);
}

int interp4(const Widths& widths, int rows, bool lumaOnly) {
    const int srcRows = widths.srcRows(rows);
    vantor::Interp4Filter filter = vantor::makeInterp4Filter();
    NV12_Interp4_Interpolate(src.data(), src.data() + widths.src * srcRows, dst.data(),
                             dst.data() + widths.dst * rows, filter.data(), widths.src, srcRows, 0, 0,
                             widths.src, srcRows, widths.dst, rows, 0, 0, widths.dst, rows, lumaOnly);
    return widths.dst * rows;
}

int interp4Luma(const Widths& widths, int rows) {
    return interp4(widths, rows, true);
}

int interp4Nv12(const Widths& widths, int rows) {
    return interp4(widths, rows, false);
}

/// Displacements of up to a few pixels, different at every node.
int warp(const Widths& widths, int rows) {
    hardware::vantorClient::_GDCGrid grid;
    for (int k = 0; k < 33 * 33; ++k) {
        const int bend = (k % 33 - 16) * (k / 33 - 16);
        grid.dX[k] = 40 * bend;
        grid.dY[k] = -40 * bend;
    }
    hardware::vantorClient::BufferData from, to;
    from.y = src.data();
    to.y = dst.data();
    from.width = widths.src;
    to.width = widths.dst;
    from.height = to.height = rows;
    to.cropRight = widths.dst - 1;
    to.cropBottom = rows - 1;
    const int32_t status = hardware::vantorClient::runGDCGrid(to, from, grid, hardware::IMAGE_FORMAT_NV12,
                                                              hardware::GDC_C_MODEL);
    if (status != 0) {
        std::fprintf(stderr, "vantor-count: a warp of %dx%d failed\n", widths.dst, rows);
        std::exit(1);
    }
    return widths.dst * rows;
}

struct Family {
    const char* name;
    int (*run)(const Widths& widths, int rows);
    Widths widths;
};

constexpr Family kFamilies[] = {{"luma", luma, {1920, 1280}},
                                {"chroma", chroma, {1920, 1280}},
                                {"nv12-1.5", nv12, {1920, 1280}},
                                {"nv12-2", nv12, {3840, 1920}},
                                {"nv12-2.1", nv12, {4032, 1920}},
                                {"nv12-3.75", nv12, {3840, 1024}},
                                {"interp4-luma", interp4Luma, {1280, 1920}},
                                {"interp4-nv12", interp4Nv12, {1280, 1920}},
                                {"warp", warp, {1920, 1920}}};

}  // namespace

int main(int argc, char** argv) {
    const int rows = argc == 3 ? std::atoi(argv[2]) : 0;
    for (const Family& family : kFamilies) {
        if (argc < 2 || std::strcmp(family.name, argv[1]) != 0) continue;
        if (rows <= 0 || rows > kMaxRows || rows % kRowsMultiple != 0) break;
        uint32_t state = 1;
        for (uint8_t& sample : src) {
            state = vantor::generatorStep(state);
            sample = static_cast<uint8_t>(state >> 24);
        }
        std::printf("%d\n", family.run(family.widths, rows));
        return 0;
    }
    std::fputs("usage: vantor-count FAMILY ROWS, of the families", stderr);
    for (const Family& family : kFamilies) std::fprintf(stderr, " %s", family.name);
    std::fprintf(stderr, "; a multiple of %d, at most %d\n", kRowsMultiple, kMaxRows);
    return 2;
}
