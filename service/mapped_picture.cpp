#include "service/mapped_picture.h"

#include <sys/mman.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

namespace vantor {
namespace {

constexpr int kSmallest = 4;
constexpr int kLargest = 8192;

/// A rectangle of bytes in a plane.
struct Rows {
    uint8_t* first;
    size_t stride;
    size_t bytes;
    int count;
};

void copy(const Rows& from, const Rows& to) {
    for (int y = 0; y < from.count; ++y) {
        const auto row = static_cast<size_t>(y);
        std::memcpy(to.first + row * to.stride, from.first + row * from.stride, from.bytes);
    }
}

/// The rows of a region in both planes of an NV12 picture.
struct Nv12Rows {
    Rows luma;
    Rows chroma;

    Nv12Rows(uint8_t* y, uint8_t* uv, int stride, int left, int top, int width, int height)
        : luma{y + static_cast<size_t>(top) * static_cast<size_t>(stride) + left, static_cast<size_t>(stride),
               static_cast<size_t>(width), height},
          chroma{uv + static_cast<size_t>(top / 2) * static_cast<size_t>(stride) + left,
                 static_cast<size_t>(stride), static_cast<size_t>(width), height / 2} {}

    Nv12Rows(const Nv12& picture, int left, int top, int width, int height)
        : Nv12Rows(const_cast<uint8_t*>(picture.bytes.data()),
                   const_cast<uint8_t*>(picture.bytes.data()) +
                       static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height),
                   picture.width, left, top, width, height) {}
};

void copy(const Nv12Rows& from, const Nv12Rows& to) {
    copy(from.luma, to.luma);
    copy(from.chroma, to.chroma);
}

}  // namespace

MappedPicture::MappedPicture(const char* name, Access access, const ImageGeometry& geometry,
                             const ::android::hardware::hidl_handle& handle)
    : name_(name), geometry_(geometry) {
    checkGeometry();
    const native_handle_t* buffers = handle.getNativeHandle();
    if (buffers == nullptr) refuse("no buffers");
    const int count = buffers->numFds;
    if (count != 1 && count != 2) refuse(std::to_string(count) + " buffers, expected 1 or 2");
    const size_t luma = static_cast<size_t>(width()) * static_cast<size_t>(height());
    luma_ = map(buffers->data[0], count == 1 ? luma + luma / 2 : luma, access);
    chroma_ = count == 1 ? luma_ + luma : map(buffers->data[1], luma / 2, access);
}

void MappedPicture::Unmap::operator()(uint8_t* address) const {
    munmap(address, length);
}

Nv12 MappedPicture::whole() const {
    Nv12 picture(width(), height());
    copy({luma_, chroma_, width(), 0, 0, width(), height()}, {picture, 0, 0, width(), height()});
    return picture;
}

Nv12 MappedPicture::region() const {
    Nv12 picture(regionWidth(), regionHeight());
    copy({luma_, chroma_, width(), geometry_.cropLeft, geometry_.cropTop, regionWidth(), regionHeight()},
         {picture, 0, 0, regionWidth(), regionHeight()});
    return picture;
}

void MappedPicture::setRegion(const Nv12& picture) {
    copy({picture, 0, 0, regionWidth(), regionHeight()},
         {luma_, chroma_, width(), geometry_.cropLeft, geometry_.cropTop, regionWidth(), regionHeight()});
}

void MappedPicture::setRegionOf(const Nv12& picture) {
    copy({picture, geometry_.cropLeft, geometry_.cropTop, regionWidth(), regionHeight()},
         {luma_, chroma_, width(), geometry_.cropLeft, geometry_.cropTop, regionWidth(), regionHeight()});
}

void MappedPicture::checkGeometry() const {
    const ImageGeometry& g = geometry_;
    const std::string size = std::to_string(g.width) + "x" + std::to_string(g.height);
    const auto isSide = [](int side) { return side >= kSmallest && side <= kLargest && side % 2 == 0; };
    if (!isSide(g.width) || !isSide(g.height)) {
        refuse("size " + size + ", expected even sides of " + std::to_string(kSmallest) + " to " +
               std::to_string(kLargest));
    }
    const auto isSpan = [](int first, int last, int side) {
        return first >= 0 && first % 2 == 0 && last < side && last % 2 == 1 && last - first + 1 >= kSmallest;
    };
    if (!isSpan(g.cropLeft, g.cropRight, g.width) || !isSpan(g.cropTop, g.cropBottom, g.height)) {
        refuse("region of interest (" + std::to_string(g.cropLeft) + ", " + std::to_string(g.cropTop) +
               ") to (" + std::to_string(g.cropRight) + ", " + std::to_string(g.cropBottom) +
               "), expected an even number of at least " + std::to_string(kSmallest) +
               " columns and rows from an even one on, within " + size);
    }
}

uint8_t* MappedPicture::map(int descriptor, size_t length, Access access) {
    struct stat buffer {};
    if (fstat(descriptor, &buffer) != 0)
        refuse("descriptor " + std::to_string(descriptor) + ": " + strerror(errno));
    if (!S_ISREG(buffer.st_mode) || buffer.st_size < 0 || static_cast<uint64_t>(buffer.st_size) < length) {
        refuse("buffer of " + std::to_string(buffer.st_size) + " bytes, expected at least " +
               std::to_string(length));
    }
    const int protection = access == Access::Write ? PROT_READ | PROT_WRITE : PROT_READ;
    void* address = mmap(nullptr, length, protection, MAP_SHARED, descriptor, 0);
    if (address == MAP_FAILED) refuse(std::string("buffer cannot be mapped: ") + strerror(errno));
    mappings_.emplace_back(static_cast<uint8_t*>(address), Unmap{length});
    return mappings_.back().get();
}

void MappedPicture::refuse(const std::string& what) const {
    throw Refusal{name_ + ": " + what};
}

}  // namespace vantor
