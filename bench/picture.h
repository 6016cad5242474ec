// NV12 pictures to measure with.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>

#include "geometry/size.h"

namespace vantor::bench {

/// Start of planes, and distance of rows where asked for, in bytes: what the widest vectors want.
constexpr int kAlignment = 64;

/// Even sizes only. Both planes begin on a multiple of kAlignment bytes, and as many bytes follow each.
class Picture {
public:
    /// Rows of both planes lie `width` bytes apart, rounded up to a multiple of `rowAlignment`.
    explicit Picture(Size size, int rowAlignment = 1);

    Size size() const { return size_; }
    Size chromaSize() const { return {size_.width / 2, size_.height / 2}; }
    int stride() const { return stride_; }
    uint8_t* y() { return bytes_.get(); }
    uint8_t* uv() { return bytes_.get() + chroma_; }
    const uint8_t* y() const { return bytes_.get(); }
    const uint8_t* uv() const { return bytes_.get() + chroma_; }

private:
    struct Free {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };

    Size size_;
    int stride_;
    size_t chroma_;  ///< where it begins
    std::unique_ptr<uint8_t[], Free> bytes_;
};

/// Bytes of samples in an NV12 picture.
inline size_t nv12Bytes(Size size) {
    return size.pixels() * 3 / 2;
}

/// A packed picture of waves of many lengths, edges and noise, the same in every run.
Picture makeScene(Size size);

/// Peak signal to noise ratio between the luma planes of two pictures of one size, in decibels; at most 99.
double psnr(const Picture& a, const Picture& b);

}  // namespace vantor::bench
