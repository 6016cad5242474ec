#include "gdc_model/small_source.h"

#include <algorithm>
#include <cstring>

namespace vantor {
namespace {

/// Repeats the last of `count` samples, the first of which is samples[2], up to `size`, and folds two back at
/// either end.
void extendLuma(uint8_t* samples, int count, int size) {
    std::fill(samples + 2 + count, samples + 2 + size, samples[1 + count]);
    std::copy_n(samples + 2, 2, samples);
    std::copy_n(samples + size, 2, samples + 2 + size);
}

/// The same for rows.
template <size_t stride>
void extendLuma(uint8_t (*rows)[stride], int count, int size, size_t bytes) {
    for (int i = count; i < size; ++i) std::memcpy(rows[2 + i], rows[1 + count], bytes);
    std::memcpy(rows[0], rows[2], 2 * stride);
    std::memcpy(rows[2 + size], rows[size], 2 * stride);
}

/// Repeats the last of `count` pairs, the first of which is the second in `pairs`, up to `size` and once
/// more, and the first.
void extendPairs(uint8_t* pairs, int count, int size) {
    const auto copyPair = [pairs](int to, int from) { std::memcpy(pairs + 2 * to, pairs + 2 * from, 2); };
    for (int i = count; i <= size; ++i) copyPair(1 + i, count);
    copyPair(0, 1);
}

template <size_t stride>
void extendPairs(uint8_t (*rows)[stride], int count, int size, size_t bytes) {
    for (int i = count; i <= size; ++i) std::memcpy(rows[1 + i], rows[count], bytes);
    std::memcpy(rows[0], rows[1], bytes);
}

bool isSmall(const GdcAxis& axis, int planeSize, int largest) {
    // In frames of 3 samples and fewer, folded taps are folded anew.
    return axis.sourceSize >= 4 && axis.sourceSize <= largest && planeSize <= axis.sourceSize;
}

bool hasWholePairs(const GdcFrame& frame, const GdcPlanes<const uint8_t>& src) {
    return src.chromaStep != 0 &&
           ((frame.x.sourceSize | frame.y.sourceSize | src.width | src.height) & 1) == 0;
}

}  // namespace

bool SmallSource::fits(const GdcFrame& frame, const GdcPlanes<const uint8_t>& src) {
    return isSmall(frame.x, src.width, kMaxWidth) && isSmall(frame.y, src.height, kMaxHeight) &&
           (!src.u || hasWholePairs(frame, src));
}

WarpSource SmallSource::copy(const GdcFrame& frame, const GdcPlanes<const uint8_t>& src) {
    const int width = frame.x.sourceSize;
    const int height = frame.y.sourceSize;
    const size_t bytes = static_cast<size_t>(width) + 2 * kMargin;
    for (int row = 0; row < src.height; ++row) {
        uint8_t* const out = luma_[kMargin + row];
        std::copy_n(src.lumaRow(row), src.width, out + kMargin);
        extendLuma(out, src.width, width);
    }
    extendLuma(luma_, src.height, height, bytes);
    if (src.u) {
        for (int row = 0; row < src.height / 2; ++row) {
            uint8_t* const out = pairs_[1 + row];
            const uint8_t* const u = src.uRow(row);
            const uint8_t* const v = src.vRow(row);
            for (int i = 0; i < src.width / 2; ++i) {
                out[2 + 2 * i] = u[i * src.chromaStep];
                out[3 + 2 * i] = v[i * src.chromaStep];
            }
            extendPairs(out, src.width / 2, width / 2);
        }
        extendPairs(pairs_, src.height / 2, height / 2, bytes);
    }
    return {luma_[0], pairs_[0],           pairs_[0] + 1,       kStride, kStride, kStride,
            2,        width + 2 * kMargin, height + 2 * kMargin};
}

void SmallSource::moveToCopy(const GdcFrame& frame, int count, int32_t* x, int32_t* y) {
    for (int i = 0; i < count; ++i) {
        const bool isInSource = isInside(x[i], frame.x.sourceSize) && isInside(y[i], frame.y.sourceSize);
        x[i] = isInSource ? x[i] + kMargin * 256 : -256;
        y[i] = isInSource ? y[i] + kMargin * 256 : -256;
    }
}

}  // namespace vantor
