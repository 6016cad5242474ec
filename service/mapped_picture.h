// A picture as the service gets it: descriptors of unknown buffers, and a geometry of unknown numbers.
#pragma once

#include <hidl/HidlSupport.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vantor {

using ImageGeometry = ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;

/// A request that the service refuses; the text names what was wrong, its value and the limit.
struct Refusal {
    std::string text;
};

/// A packed NV12 picture of even size.
struct Nv12 {
    Nv12(int w, int h)
        : width(w), height(h), bytes(static_cast<size_t>(w) * static_cast<size_t>(h) * 3 / 2) {}

    int width;
    int height;
    std::vector<uint8_t> bytes;
};

/// One picture mapped for as long as this lives. `name` ("src" or "dst") is what a refusal names.
class MappedPicture {
public:
    enum class Access { Read, Write };

    /// Maps one buffer of luma and chroma, or two. Throws a Refusal unless sizes and region of interest are
    /// even, lie within 4 to 8192 and the picture, and the buffers are as long as the picture needs.
    MappedPicture(const char* name, Access access, const ImageGeometry& geometry,
                  const ::android::hardware::hidl_handle& handle);

    int width() const { return geometry_.width; }
    int height() const { return geometry_.height; }
    int regionWidth() const { return geometry_.cropRight - geometry_.cropLeft + 1; }
    int regionHeight() const { return geometry_.cropBottom - geometry_.cropTop + 1; }

    Nv12 whole() const;
    Nv12 region() const;

    /// Writes a picture of the region's size to the region.
    void setRegion(const Nv12& picture);

    /// Writes the part of a picture of this size that lies in the region.
    void setRegionOf(const Nv12& picture);

private:
    struct Unmap {
        size_t length;
        void operator()(uint8_t* address) const;
    };
    using Mapping = std::unique_ptr<uint8_t, Unmap>;

    void checkGeometry() const;
    uint8_t* map(int descriptor, size_t length, Access access);
    [[noreturn]] void refuse(const std::string& what) const;

    std::string name_;
    ImageGeometry geometry_;
    std::vector<Mapping> mappings_;
    uint8_t* luma_ = nullptr;
    uint8_t* chroma_ = nullptr;
};

}  // namespace vantor
