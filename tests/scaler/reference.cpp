#include "tests/scaler/reference.h"

#include <algorithm>
#include <cstddef>

namespace reference {
namespace {

// Cubic through p1 (t = 0) and p2 (t = 32). The three truncating shifts are part of the result.
int cubic(int p0, int p1, int p2, int p3, int t) {
    const int third = (t * (3 * (p1 - p2) + p3 - p0)) >> 5;
    const int second = (t * (2 * p0 - 5 * p1 + 4 * p2 - p3 + third)) >> 5;
    return std::clamp(p1 + ((t * (p2 - p0 + second)) >> 6), 0, 255);
}

// Source distance of two destination samples in 1/262144 pixel; the ratio is rounded to single precision.
int64_t interp4Step(int dstSize, int srcCropSize) {
    const float ratio = static_cast<float>(dstSize) / static_cast<float>(srcCropSize);
    return static_cast<int64_t>(262144.0 * (1.0 / static_cast<double>(ratio)) + 0.5);
}

// Source position in 1/32 pixel, kept where all four taps are inside a picture of at least 4 samples.
int interp4Position(int srcCrop, int sample, int64_t step, int srcSize) {
    const int64_t pos = (int64_t{srcCrop} * 262144 + sample * step + 4096) >> 13;
    return static_cast<int>(std::min(std::max(pos, int64_t{32}), int64_t{srcSize} * 32 - 65));
}

// Last pair or chroma row that is addressed: odd sizes reach the half one at the end, tiny ones only the first.
int lastChroma(int srcSize) { return srcSize < 4 ? 0 : (srcSize - 1) / 2; }

// H of one component of a row, a and b at bytes left and right of it. An odd-sized plane ends inside the last
// pair or row: a missing b repeats a, a missing a is replaced by the row above, and a plane without any is neutral.
int chromaH(const uint8_t* plane, int64_t planeSize, int row, int rowBytes, int left, int right, int fx) {
    while (row > 0 && int64_t{row} * rowBytes + left >= planeSize) --row;
    const int64_t start = int64_t{row} * rowBytes;
    if (start + left >= planeSize) return 128;
    const int a = plane[start + left];
    const int b = start + right < planeSize ? plane[start + right] : a;
    return ((64 - fx) * a + fx * b + 32) >> 6;
}

}  // namespace

void luma(const uint8_t* src, uint8_t* dst, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
          int dstStride, int positionBits) {
    if (srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 || dstHeight <= 0) return;
    const int64_t stepX = (int64_t{srcWidth} << positionBits) / dstWidth;
    const int64_t stepY = (int64_t{srcHeight} << positionBits) / dstHeight;
    const int phaseShift = positionBits == 13 ? 8 : 0;
    const int phaseMask = positionBits == 6 ? 63 : 31;  // with 64 phases t runs past 32, beyond p2
    for (int y = 0; y < dstHeight; ++y) {
        const int iy = static_cast<int>((y * stepY) >> positionBits);
        const int ty = static_cast<int>((y * stepY) >> phaseShift) & phaseMask;
        const int r0 = iy == 0 ? iy : iy - 1;
        const int r2 = iy + 1 == srcHeight ? iy : iy + 1;
        const int r3 = r2 == srcHeight - 1 ? r2 : iy + 2;
        for (int x = 0; x < dstWidth; ++x) {
            const int ix = static_cast<int>((x * stepX) >> positionBits);
            const int tx = static_cast<int>((x * stepX) >> phaseShift) & phaseMask;
            int tap0 = ix - 1, tap2 = ix + 1, tap3 = ix + 2;
            if (ix + 1 >= srcWidth - 1) {  // right column; its first tap is not clamped: row[-1] for ix = 0
                tap2 = ix + 1 == srcWidth ? ix : ix + 1;
                tap3 = tap2 == srcWidth - 1 ? srcWidth - 1 : ix + 2;
            } else if (ix == 0) {  // left column
                tap0 = 0;
            }
            const auto h = [&](int r) {
                const uint8_t* row = src + static_cast<ptrdiff_t>(r) * srcStride;
                return cubic(row[tap0], row[ix], row[tap2], row[tap3], tx);
            };
            dst[static_cast<ptrdiff_t>(y) * dstStride + x] =
                static_cast<uint8_t>(cubic(h(r0), h(iy), h(r2), h(r3), ty));
        }
    }
}

void chroma(const uint8_t* src, uint8_t* dst, int srcWidth, int srcHeight, int srcStride, int dstWidth, int dstHeight,
            int dstStride) {
    if (srcWidth <= 0 || srcHeight <= 0 || dstWidth <= 0 || dstHeight <= 0) return;
    const int64_t stepX = (int64_t{srcWidth} << 13) / dstWidth;
    const int64_t stepY = (int64_t{srcHeight} << 13) / dstHeight;
    for (int y = 0; y < dstHeight; ++y) {
        const int iy = static_cast<int>((y * stepY) >> 13);
        const int ty = static_cast<int>((y * stepY) >> 8) & 31;
        const uint8_t* row0 = src + static_cast<ptrdiff_t>(iy) * srcStride;
        const uint8_t* row1 = iy + 1 == srcHeight ? row0 : row0 + srcStride;
        for (int x = 0; x < dstWidth; ++x) {
            const ptrdiff_t ix = static_cast<ptrdiff_t>((x * stepX) >> 13);
            const int tx = static_cast<int>((x * stepX) >> 8) & 31;
            for (int component = 0; component < 2; ++component) {
                const ptrdiff_t left = 2 * ix + component;
                const ptrdiff_t right = ix + 1 >= srcWidth ? left : left + 2;
                const int h0 = ((32 - tx) * row0[left] + tx * row0[right]) >> 5;
                const int h1 = ((32 - tx) * row1[left] + tx * row1[right]) >> 5;
                dst[static_cast<ptrdiff_t>(y) * dstStride + 2 * static_cast<ptrdiff_t>(x) + component] =
                    static_cast<uint8_t>(((32 - ty) * h0 + ty * h1) >> 5);
            }
        }
    }
}

void interp4(const uint8_t* srcY, const uint8_t* srcUV, uint8_t* dstY, uint8_t* dstUV, const short* coefficients,
             int srcWidth, int srcHeight, int srcCropX, int srcCropY, int srcCropWidth, int srcCropHeight, int dstWidth,
             int dstHeight, int bandX, int bandY, int bandWidth, int bandHeight, bool lumaOnly) {
    if (srcWidth <= 0 || srcHeight <= 0 || srcCropWidth <= 0 || srcCropHeight <= 0) return;
    if (dstWidth <= 0 || dstHeight <= 0 || bandWidth <= 0 || bandHeight <= 0) return;
    const int64_t stepX = interp4Step(dstWidth, srcCropWidth);
    const int64_t stepY = interp4Step(dstHeight, srcCropHeight);
    for (int y = bandY; y < bandY + bandHeight; ++y) {
        const int py = interp4Position(srcCropY, y, stepY, srcHeight);
        for (int x = bandX; x < bandX + bandWidth; ++x) {
            const int px = interp4Position(srcCropX, x, stepX, srcWidth);
            uint32_t vsum = 0;  // wraps for steep tables
            for (int j = 0; j < 4; ++j) {
                const int r = std::clamp((py >> 5) - 1 + j, 0, srcHeight - 1);
                const uint8_t* row = srcY + static_cast<ptrdiff_t>(r) * srcWidth;
                int hsum = 0;
                for (int i = 0; i < 4; ++i) {
                    const int tap = std::clamp((px >> 5) - 1 + i, 0, srcWidth - 1);
                    hsum += coefficients[(px & 31) * 4 + i] * row[tap];
                }
                const int h = std::clamp((hsum + 128) >> 8, -32768, 32767);  // 1/16 of a level
                vsum = static_cast<uint32_t>(vsum + int64_t{coefficients[(py & 31) * 4 + j] * h});
            }
            // The rounding is not part of the wrapping sum: a value beyond 16 bits saturates. The byte range
            // lies inside the 16-bit range, so one clamp does for both.
            const int64_t out = (int64_t{static_cast<int32_t>(vsum)} + 32768) >> 16;
            dstY[static_cast<ptrdiff_t>(y) * dstWidth + x] =
                static_cast<uint8_t>(std::clamp(out, int64_t{0}, int64_t{255}));
        }
    }
    if (lumaOnly) return;
    const int64_t planeSize = (int64_t{srcWidth} * srcHeight) >> 1;
    for (int yc = bandY / 2; yc < (bandY + bandHeight) / 2; ++yc) {
        const int py = interp4Position(srcCropY, 2 * yc, stepY, srcHeight);
        const int row0 = std::clamp(py >> 6, 0, lastChroma(srcHeight));
        const int row1 = std::clamp((py >> 6) + 1, 0, lastChroma(srcHeight));
        for (int xc = bandX; xc < (bandX + bandWidth) / 2; ++xc) {
            const int px = interp4Position(srcCropX, 2 * xc, stepX, srcWidth);
            for (int component = 0; component < 2; ++component) {
                const int left = 2 * std::clamp(px >> 6, 0, lastChroma(srcWidth)) + component;
                const int right = 2 * std::clamp((px >> 6) + 1, 0, lastChroma(srcWidth)) + component;
                const int h0 = chromaH(srcUV, planeSize, row0, srcWidth, left, right, px & 63);
                const int h1 = chromaH(srcUV, planeSize, row1, srcWidth, left, right, px & 63);
                dstUV[static_cast<ptrdiff_t>(yc) * dstWidth + 2 * static_cast<ptrdiff_t>(xc) + component] =
                    static_cast<uint8_t>(((64 - (py & 63)) * h0 + (py & 63) * h1 + 32) >> 6);
            }
        }
    }
}

void interpolate(const uint8_t* srcY, const uint8_t* srcUV, uint8_t* dstY, uint8_t* dstUV, int /*srcWidth*/,
                 int /*srcHeight*/, int srcStride, int /*dstWidth*/, int /*dstHeight*/, int dstStride, int srcCropX,
                 int srcCropY, int srcCropWidth, int srcCropHeight, int dstCropX, int dstCropY, int dstCropWidth,
                 int dstCropHeight, bool singlePass) {
    const ptrdiff_t srcRows = static_cast<ptrdiff_t>(srcCropY) * srcStride;
    const ptrdiff_t dstRows = static_cast<ptrdiff_t>(dstCropY) * dstStride;
    luma(srcY + srcRows + srcCropX, dstY + dstRows + dstCropX, srcCropWidth, srcCropHeight, srcStride, dstCropWidth,
         dstCropHeight, dstStride, 13);
    // Half the byte offset, not half the row number: an odd crop row lands half a row into the UV plane.
    const uint8_t* src = srcUV + (srcRows >> 1) + (srcCropX & ~1);
    uint8_t* dst = dstUV + (dstRows >> 1) + (dstCropX & ~1);
    for (int pass = 0; pass < (singlePass ? 1 : 2); ++pass) {
        chroma(src, dst, srcCropWidth >> 1, srcCropHeight >> 1, srcStride, dstCropWidth >> 1, dstCropHeight >> 1,
               dstStride);
    }
}

}  // namespace reference
