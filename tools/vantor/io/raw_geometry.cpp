#include "tools/vantor/io/raw_geometry.h"

#include <algorithm>

namespace vantor::tool {
namespace {

/// Strides and slice heights that are tried: multiples of these, up to so many samples of padding, which real
/// devices stay within. More would let some geometry fit by chance.
constexpr int kStrideStep = 16;
constexpr int kMaxRowPadding = 512;
constexpr int kSliceStep = 2;
constexpr int kMaxSlicePadding = 128;
constexpr uintmax_t kMaxFrames = 10000;

/// The shape with the narrowest padded rows of which `frames` take `length` bytes.
std::optional<FrameShape> paddedShape(const FrameShape& shape, uintmax_t length, uintmax_t frames) {
    const FrameShape packed = packedShape(shape.format, shape.size);
    const int height = shape.size.height;
    for (int padded = packed.stride; padded <= std::min(2 * packed.stride, packed.stride + kMaxRowPadding);
         padded += kStrideStep - padded % kStrideStep) {
        FrameShape candidate = packed;
        candidate.stride = padded;
        candidate.sliceHeight = 2;
        const uintmax_t twoRows = candidate.bytes();
        const uintmax_t rows = 2 * (length / frames) / twoRows;
        if (rows > static_cast<uintmax_t>(height + kMaxSlicePadding)) continue;
        candidate.sliceHeight = static_cast<int>(rows);
        const bool isStep = candidate.sliceHeight == height || candidate.sliceHeight % kSliceStep == 0;
        if (isStep && candidate.sliceHeight >= height && candidate.bytes() * frames == length)
            return candidate;
    }
    return {};
}

}  // namespace

std::string sumOf(const FrameShape& shape) {
    const std::string luma = std::to_string(shape.stride) + " x " + std::to_string(shape.sliceHeight);
    if (!isSubsampled(shape.format)) return luma;
    if (shape.stride % 2 == 0 && shape.sliceHeight % 2 == 0) return luma + " x 3/2";
    return luma + " + 2 x " + std::to_string((shape.stride + 1) / 2) + " x " +
           std::to_string((shape.sliceHeight + 1) / 2);
}

std::string explainLength(const FrameShape& shape, std::optional<uintmax_t> length,
                          const std::string& optionPrefix) {
    std::string text = ": a frame is " + sumOf(shape);
    if (!length) return text;
    const uintmax_t most = std::min(*length / packedShape(shape.format, shape.size).bytes(), kMaxFrames);
    for (uintmax_t frames = 1; frames <= most; ++frames) {
        if (*length % frames != 0) continue;
        const std::optional<FrameShape> padded = paddedShape(shape, *length, frames);
        if (!padded) continue;
        return text + "; the file is " + std::to_string(*length) + " = " +
               (frames == 1 ? "" : std::to_string(frames) + " x ") + sumOf(*padded) + ", as with " +
               optionPrefix + "-stride " + std::to_string(padded->stride) + " " + optionPrefix +
               "-slice-height " + std::to_string(padded->sliceHeight);
    }
    return text + "; the file has " + std::to_string(*length) + " bytes";
}

}  // namespace vantor::tool
