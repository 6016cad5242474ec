#include "tools/vantor/picture/stored_plane.h"

#include <algorithm>
#include <cstring>

namespace vantor::tool {
namespace {

template <size_t kBytes>
uint32_t sampleAt(const uint8_t* row, int x) {
    const uint8_t* sample = row + static_cast<size_t>(x) * kBytes;
    return kBytes == 1 ? sample[0] : sample[0] | uint32_t{sample[kBytes - 1]} << 8;
}

/// One row of the mean of two rows. Four samples are summed always: of a smaller box, some twice or four
/// times.
template <size_t kBytes>
uint8_t* reduceRow(const uint8_t* upper, const uint8_t* lower, const StoredPlane& plane, uint8_t* to) {
    const int shift = plane.bits - 8 + 2;
    for (int left = 0; left < plane.size.width; left += plane.box.width) {
        const int right = std::min(left + plane.box.width, plane.size.width) - 1;
        const uint32_t sum = sampleAt<kBytes>(upper, left) + sampleAt<kBytes>(upper, right) +
                             sampleAt<kBytes>(lower, left) + sampleAt<kBytes>(lower, right);
        *to++ = static_cast<uint8_t>(std::min((sum + (1U << (shift - 1))) >> shift, 255U));
    }
    return to;
}

}  // namespace

size_t StoredPlane::end() const {
    return offset + static_cast<size_t>(size.height - 1) * stride +
           static_cast<size_t>(size.width) * bytesPerSample();
}

uint8_t* reduce(const StoredPlane& plane, const uint8_t* frame, uint8_t* to) {
    const auto row = [&](int y) { return frame + plane.offset + static_cast<size_t>(y) * plane.stride; };
    const bool isCopied = plane.bits == 8 && plane.box == Size{1, 1};
    for (int y = 0; y < plane.size.height; y += plane.box.height) {
        const int last = std::min(y + plane.box.height, plane.size.height) - 1;
        if (isCopied) {
            std::memcpy(to, row(y), static_cast<size_t>(plane.size.width));
            to += plane.size.width;
        } else {
            to = plane.bits > 8 ? reduceRow<2>(row(y), row(last), plane, to)
                                : reduceRow<1>(row(y), row(last), plane, to);
        }
    }
    return to;
}

std::string ruleOf(Size box, int bits) {
    std::string rule;
    if (box == Size{2, 2}) rule = "each chroma sample is the mean of 2 x 2, ";
    if (box == Size{2, 1}) rule = "each chroma sample is the mean of 2 columns, ";
    if (box == Size{1, 2}) rule = "each chroma sample is the mean of 2 rows, ";
    if (bits > 8) rule += "values are divided by " + std::to_string(1 << (bits - 8)) + ", ";
    return rule + "rounded to nearest, halves up";
}

}  // namespace vantor::tool
