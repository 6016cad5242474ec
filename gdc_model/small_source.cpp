#include "gdc_model/small_source.h"

#include <algorithm>

namespace vantor {
namespace {

/// Samples of a row, or rows: repeats the last of `count`, the first of which is items[2], up to `size`, and
/// folds two back at either end.
template <typename Item>
void extendLuma(Item* items, int count, int size) {
    const Item last = items[1 + count];
    std::fill(items + 2 + count, items + 2 + size, last);
    std::copy_n(items + 2, 2, items);
    std::copy_n(items + size, 2, items + 2 + size);
}

/// Pairs of a row, or rows: repeats the last of `count`, the first of which is items[1], up to `size` and
/// once more, and the first.
template <typename Item>
void extendPairs(Item* items, int count, int size) {
    const Item last = items[count];
    std::fill(items + 1 + count, items + 2 + size, last);
    items[0] = items[1];
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
    for (int row = 0; row < src.height; ++row) {
        uint8_t* const out = luma_[kMargin + row].data();
        std::copy_n(src.lumaRow(row), src.width, out + kMargin);
        extendLuma(out, src.width, width);
    }
    extendLuma(luma_, src.height, height);
    if (src.u) {
        for (int row = 0; row < src.height / 2; ++row) {
            Pair* const out = pairs_[1 + row].data();
            const uint8_t* const u = src.uRow(row);
            const uint8_t* const v = src.vRow(row);
            for (int i = 0; i < src.width / 2; ++i)
                out[1 + i] = {u[i * src.chromaStep], v[i * src.chromaStep]};
            extendPairs(out, src.width / 2, width / 2);
        }
        extendPairs(pairs_, src.height / 2, height / 2);
    }
    uint8_t* const pair = pairs_[0][0].data();
    return {luma_[0].data(),     pair, pair + 1, kStride, kStride, kStride, 2, width + 2 * kMargin,
            height + 2 * kMargin};
}

void SmallSource::moveToCopy(const GdcFrame& frame, int count, int32_t* x, int32_t* y) {
    for (int i = 0; i < count; ++i) {
        const bool isInSource = isInside(x[i], frame.x.sourceSize) && isInside(y[i], frame.y.sourceSize);
        x[i] = isInSource ? x[i] + kMargin * 256 : -256;
        y[i] = isInSource ? y[i] + kMargin * 256 : -256;
    }
}

}  // namespace vantor
