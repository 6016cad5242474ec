#include "tests/gdc_model/gdc_reference.h"

#include <algorithm>
#include <cmath>

namespace reference {
namespace {

int64_t hwround(int64_t value, int shift) {
    const uint64_t half = shift == 0 ? 0 : uint64_t{1} << (shift - 1);
    return static_cast<int64_t>(static_cast<uint64_t>(value) + half) >> shift;
}

// The engine's 32-bit registers: whatever leaves them wraps in two's complement.
int wrap(int64_t value) { return static_cast<int>(static_cast<uint32_t>(value)); }

int pow2(int64_t exponent) { return wrap(int64_t{1} << (exponent & 31)); }  // exponent modulo 32

int div3(int64_t value) { return static_cast<int>(static_cast<double>(value) / 3.0); }

int clampDisplacement(int64_t v) { return static_cast<int>(std::clamp<int64_t>(v, -4194304, 4194303)); }

// Cubic convolution kernel, a = -0.5, for x in 0..2.
double kernel(double x) {
    return x <= 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
}

// Luma weights in 1/256 by tap and phase.
struct WeightTable {
    int tap[4][256];
    WeightTable() {
        for (int k = 0; k < 4 * 256; ++k)
            tap[k / 256][k % 256] = static_cast<int>(std::round(256 * kernel(std::abs(1 - k / 256 + k % 256 / 256.0))));
    }
} const weights;

// Value of grid column c at height t (0..384) of the cell that ends at row cy, at half the grid's scale.
int columnValue(int c, int cy, int t, const int (&grid)[33][33]) {
    const int64_t above = cy < 2 ? 0 : grid[cy - 2][c], top = grid[cy - 1][c];
    const int64_t bottom = grid[cy][c], below = cy > 31 ? 0 : grid[cy + 1][c];
    const int m = 384 - 2 * t, q3 = div3((64 + t * (384 - t)) / 128), delta = wrap(bottom - top);
    int s0 = wrap(bottom - above), s1 = wrap(below - top);
    if (cy == 1) s0 = wrap(int64_t{4} * delta - s1);
    if (cy == 32) s1 = wrap(int64_t{4} * delta - s0);
    const int e = div3(hwround(int64_t{m} * wrap(int64_t{4} * delta - s0 - s1), 8));
    const int f = wrap(int64_t{e} + (wrap(int64_t{s1} - s0) >> 1));
    const int64_t g = div3(hwround(int64_t{f} * q3, 9)), l = div3(hwround(int64_t{delta} * t, 8));
    return clampDisplacement(wrap(l + (top >> 1) - g));
}

int gridInterp(int vx, int vy, int cx, int cy, const int (&grid)[33][33]) {
    cx = std::min(cx, 32), cy = std::min(cy, 32);  // the very end of the range is the last cell's far end
    const int t = vy - 384 * (cy - 1), u = vx - 512 * (cx - 1);
    const int pa = cx >= 2 ? columnValue(cx - 2, cy, t, grid) : 0, pb = columnValue(cx - 1, cy, t, grid);
    const int pc = columnValue(cx, cy, t, grid), pd = cx <= 31 ? columnValue(cx + 1, cy, t, grid) : 0;
    const int64_t mx = 512 - 2 * u, qx = (256 + u * (512 - u)) / 512;
    int delta = pc - pb, s0 = pc - pa, s1 = pd - pb;
    if (cx == 1) s0 = 4 * delta - s1;
    if (cx == 32) s1 = 4 * delta - s0;
    const int64_t ex = hwround((4 * delta - s0 - s1) * mx, 9), fx = ex + (s1 - s0), gx = hwround(fx * qx, 11);
    return clampDisplacement(pb + hwround(int64_t{delta} * u, 9) - gx);
}

int virtualCoord(int pos, int crop, int outScale, int scale, int shifter, int mirror, int limit) {
    const int64_t factor = wrap(int64_t{outScale} * scale) >> 7, step = wrap(2 * (int64_t{pos} + crop) + 1);
    const int v = wrap(factor * step + pow2(int64_t{shifter} + 7)) / pow2(int64_t{shifter} + 8);
    return std::clamp(mirror ? wrap(int64_t{limit} - v) : v, 0, limit);
}

int sourcePosition(int pos, int invScale, int displacement, int outScale, int mirror) {
    const int64_t moved = hwround(int64_t{invScale} * displacement, 13);
    return wrap((mirror ? -moved : moved) + int64_t{outScale} * wrap(int64_t{2} * pos + 1));
}

// Index of tap k (0..3) around i, folded at the borders of 0..n-1.
int foldTap(int i, int n, int k) {
    const int at[4] = {i < 2 ? i : i - 2, i == 0 ? 1 : i - 1, i, i + 1};
    return at[k] < n ? at[k] : at[k] - 2;
}

// Two source rows or columns around chroma position i of n; k = 0 is the left or top one.
int foldChroma(int i, int n, int k) {
    const int at = k == 1 ? i : i == 0 ? 0 : i - 1;
    return at < n ? at : at - 1;
}

int bilinear(GdcState& s, int lt, int rt, int lb, int rb, int fracL, int fracT, int chroma, int xi, int yi) {
    const int sx = chroma ? 1 : 0, sy = chroma && s.m_YuvFormat ? 1 : 0;
    const int dL = fracL + (sx && !(xi & 1) ? 256 : 0), dT = fracT + (sy && !(yi & 1) ? 256 : 0);
    s.m_dltL = dL, s.m_dltT = dT, s.m_StepXShifter = sx, s.m_StepYShifter = sy;
    s.m_LT_val = lt, s.m_RT_val = rt, s.m_LB_val = lb, s.m_RB_val = rb;
    const int64_t wT = (s.m_YuvFormat == 1 ? 256 << sy : 256) - dT, wL = (256 << sx) - dL;
    const int64_t a = (wT * dL + (128 << sy)) >> (sy + 8), b = (wL * wT + (128 << sy)) >> (sy + 8);
    const int64_t sum = (wL - b) * lb + b * lt + a * rt + (dL - a) * rb + ((256 << sx) >> 1);
    return static_cast<uint16_t>(sum >> (sx + 8));
}

int64_t bicubic(const GdcState& s, const int (&tap)[4][4], int fx, int fy) {
    int64_t acc = 0, sum = 0, maxv = s.m_Src10bitFormat ? 1023 : 255, lo = maxv, hi = 0;
    for (int k = 0; k < 16; ++k) {
        const int j = k / 4, i = k % 4;
        const int64_t product = weights.tap[j][fy] * weights.tap[i][fx], value = tap[j][i];
        const int64_t w = product >= 0 ? (product + 128) >> 8 : -((128 - product) >> 8);
        acc += w * value, sum += w;
        if (s.m_clampType % 2 || (i % 3 && j % 3)) lo = std::min(lo, value), hi = std::max(hi, value);
    }
    const int64_t y = std::clamp<int64_t>((acc + hwround(acc * (256 - sum), 8) + 128) >> 8, 0, maxv);
    return s.m_clampType <= 0 ? y : y < lo ? lo : std::min(y, hi);  // no ringing beyond the neighbours
}

// The output pixel at column col and row row of the computed region.
void warpPixel(GdcState& s, uint16_t* dst, const uint16_t* src, int col, int row) {
    const int ox = wrap(int64_t{s.m_nOutCropStartX} + col), oy = wrap(int64_t{s.m_nOutCropStartY} + row);
    s.m_VirtStepShiftX = 8, s.m_VirtStepShiftY = 6;
    const int vx = s.m_VirtCordX =
        virtualCoord(ox, s.m_nCropStartX, s.m_OutScaleX, s.m_nScaleX, s.m_nScaleShifterX, s.m_bMirrorX, 16384);
    const int vy = s.m_VirtCordY =
        virtualCoord(oy, s.m_nCropStartY, s.m_OutScaleY, s.m_nScaleY, s.m_nScaleShifterY, s.m_bMirrorY, 12288);
    const int cx = (vx >> 9) + 1, cy = static_cast<int>((vy >> 7) / 3.0 + 1.0);
    const int dX = gridInterp(vx, vy, cx, cy, s.m_curGrid_dX);
    const int dY = gridInterp(vx, vy, cx, cy, s.m_curGrid_dY);
    const int sx = sourcePosition(ox, s.m_nInvScaleX, dX, s.m_OutScaleX, s.m_bMirrorX);  // 1/256 pixel
    const int sy = sourcePosition(oy, s.m_nInvScaleY, dY, s.m_OutScaleY, s.m_bMirrorY);
    const int px = wrap(int64_t{sx} + 128), py = wrap(int64_t{sy} + 128), fx = px & 255, fy = py & 255;
    const bool inside =
        sx >= 0 && sy >= 0 && sx < wrap(int64_t{s.m_nWidth} * 256) && sy < wrap(int64_t{s.m_nHeight} * 256);
    const int xi = inside ? px >> 8 : -1, yi = inside ? py >> 8 : -1;
    int taps[4][4] = {};  // all black outside the source
    for (int k = 0; inside && k < 16; ++k)
        taps[k / 4][k % 4] =
            src[int64_t{foldTap(yi, s.m_nHeight, k / 4)} * s.m_PxcStrideLum + foldTap(xi, s.m_nWidth, k % 4)];
    int64_t y = s.m_interpType == 0 ? taps[1][1] : bicubic(s, taps, fx, fy);
    if (s.m_interpType == 1 || s.m_interpType == 2)
        y = bilinear(s, taps[1][1], taps[1][2], taps[2][1], taps[2][2], fx, fy, 0, xi, yi);
    dst[int64_t{row} * s.m_WrtStrideLum + col] = static_cast<uint16_t>(std::min<int64_t>(y, 255));

    const bool is420 = s.m_YuvFormat == 1;
    if ((ox & 1) || (is420 && (oy & 1))) return;
    const int xc = (xi & 1) + (px >> 9), yc = is420 ? (yi & 1) + (py >> 9) : yi;
    const int wc = s.m_nWidth / 2, hc = is420 ? s.m_nHeight / 2 : s.m_nHeight;
    for (int chroma = 1; chroma <= 2; ++chroma) {              // U, then V
        const int quarters = chroma == 1 ? 4 : is420 ? 5 : 6;  // quarters of the luma plane before this one
        const int64_t from = int64_t{s.m_nWidth} * s.m_nHeight * quarters / 4;
        int n[4];  // left-top, right-top, left-bottom, right-bottom
        for (int k = 0; k < 4; ++k) {
            const int64_t r = foldChroma(yc, hc, k / 2), c = foldChroma(xc, wc, k % 2);
            n[k] = inside ? src[from + r * s.m_PxcStrideChroma / 2 + c] : s.m_Src10bitFormat ? 512 : 128;
        }
        int value = n[0];
        if (s.m_interpType >= 2) value = bilinear(s, n[0], n[1], n[2], n[3], fx, fy, chroma, xi, yi);
        const int64_t stride = s.m_WrtStrideChroma, line = is420 ? stride * (row / 2) / 2 : stride * row;
        const int64_t to = int64_t{s.m_nOutCropWidth} * s.m_nOutCropHeight * quarters / 4;
        dst[to + line + col / 2] = static_cast<uint16_t>(std::min(value, 255));
    }
}

}  // namespace

void gdcCore(GdcState& s, const GdcOptions& o, uint16_t* dst, const uint16_t* src, const int* gridDX, const int* gridDY,
             int width, int height, int, int, int scaleShifterX, int scaleShifterY, int scaleX, int scaleY,
             int invScaleX, int invScaleY, int outScaleX, int outScaleY, int outCropStartX, int outCropStartY,
             int outWidth, int outHeight) {
    for (int k = 0; k < 33 * 33; ++k)
        s.m_curGrid_dX[k / 33][k % 33] = gridDX[k], s.m_curGrid_dY[k / 33][k % 33] = gridDY[k];
    s.m_nWidth = s.m_OrgWidth = s.m_PxcStrideLum = s.m_PxcStrideChroma = width;
    s.m_nHeight = s.m_OrgHeight = height, s.m_WrtStrideLum = s.m_WrtStrideChroma = outWidth;
    s.m_nScaleShifterX = scaleShifterX, s.m_nScaleX = scaleX, s.m_nInvScaleX = invScaleX;
    s.m_nScaleShifterY = scaleShifterY, s.m_nScaleY = scaleY, s.m_nInvScaleY = invScaleY;
    s.m_OutScaleX = outScaleX, s.m_nOutCropStartX = outCropStartX, s.m_nOutCropWidth = outWidth;
    s.m_OutScaleY = outScaleY, s.m_nOutCropStartY = outCropStartY, s.m_nOutCropHeight = outHeight;
    s.m_interpType = o.interpType, s.m_clampType = o.clampType, s.m_YuvFormat = o.yuvFormat;
    s.m_Src10bitFormat = o.src10bit, s.m_Dst10bitFormat = o.dst10bit, s.m_bMirrorX = o.mirrorX;
    s.m_bMirrorY = o.mirrorY, s.m_nCropStartX = o.cropStartX, s.m_nCropStartY = o.cropStartY;
    for (int row = 0; row < outHeight; ++row)
        for (int col = 0; col < outWidth; ++col) warpPixel(s, dst, src, col, row);
}

}  // namespace reference
