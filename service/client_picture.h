// A picture as the service gets it: descriptors of unknown files, and a geometry of unknown numbers.
#pragma once

#include <hidl/HidlSupport.h>
#include <sys/types.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "service/working_memory.h"

namespace vantor {

using ImageGeometry = ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;

/// A request that the service refuses; the text names what was wrong, its value and the limit.
struct Refusal {
    std::string text;
};

/// One picture in a client's buffers. They are read and written by calls and never mapped, so that nothing
/// that the client does to them meanwhile can do more than change samples or let a call fail. `name` ("src"
/// or "dst") is what a refusal names.
class ClientPicture {
public:
    enum class Access { Read, Write };

    struct Region {
        int left;
        int top;
        int width;
        int height;
    };

    /// Takes one buffer of luma and chroma, or two. Throws a Refusal unless sizes and region of interest are
    /// even, lie within 4 to 8192 and the picture, and the buffers are memory files as long as the picture
    /// needs, which can be written to for Access::Write.
    ClientPicture(const char* name, Access access, const ImageGeometry& geometry,
                  const ::android::hardware::hidl_handle& handle);

    Region whole() const { return {0, 0, geometry_.width, geometry_.height}; }
    Region region() const;

    /// Reads a part of the picture to one of the part's size. Throws a Refusal where bytes are missing.
    void read(const Region& part, const Nv12& to) const;

    /// Writes the region of interest from the samples of `from` that begin at (left, top). Throws a Refusal
    /// where the buffers do not take all the bytes.
    void writeRegion(const Nv12& from, int left, int top) const;

private:
    /// Where a plane is in the client's buffers.
    struct Plane {
        int descriptor;
        size_t start;
    };
    /// pread or pwrite.
    using Transfer = ssize_t (*)(int descriptor, uint8_t* memory, size_t bytes, off_t place);

    void checkGeometry() const;
    void checkBuffer(int descriptor, size_t length, Access access) const;
    /// Between a part of the picture and the samples in memory that begin at (left, top).
    void transfer(const Region& part, const Nv12& memory, int left, int top, Transfer call) const;
    void transfer(const Plane& plane, const Region& part, uint8_t* memory, int stride, Transfer call) const;
    [[noreturn]] void refuse(const std::string& what) const;

    const char* name_;
    ImageGeometry geometry_;
    Plane luma_{};
    Plane chroma_{};
};

}  // namespace vantor
