// A picture as the service gets it: descriptors of unknown files, and a geometry of unknown numbers.
#pragma once

#include <sys/types.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "service/refusal.h"
#include "vantor/vantor.h"

namespace vantor {

using ImageGeometry = ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;

/// The descriptors of a picture's buffers.
struct Buffers {
    const int* descriptors;
    int count;
};

/// One picture in a client's buffers. They are read and written by calls and never mapped, so that nothing
/// that the client does to them meanwhile can do more than change samples or let a call fail. `name` ("src"
/// or "dst") is what a refusal names.
class ClientPicture {
public:
    enum class Access { Read, Write };

    /// Takes one buffer of luma and chroma, or two. Throws a Refusal unless sizes and region of interest are
    /// even, lie within 4 to 8192 and the picture, and the buffers are memory files as long as the picture
    /// needs, which can be written to for Access::Write.
    ClientPicture(const char* name, Access access, const ImageGeometry& geometry, Buffers buffers);

    int width() const { return geometry_.width; }
    int height() const { return geometry_.height; }
    vantor_rect whole() const { return {0, 0, width(), height()}; }
    vantor_rect region() const;

    /// Reads a part to the same place in a picture of this size. Throws a Refusal where bytes are missing.
    void read(const vantor_rect& part, const vantor_image& to) const;

    /// Writes a part from the same place in a picture of this size. Throws a Refusal where the buffers do not
    /// take all the bytes.
    void write(const vantor_rect& part, const vantor_image& from) const;

private:
    /// Where a plane is in the client's buffers.
    struct Plane {
        int buffer;  ///< its number, as refusals have it
        int descriptor;
        size_t start;
    };
    /// pread or pwrite.
    using Transfer = ssize_t (*)(int descriptor, uint8_t* memory, size_t bytes, off_t place);

    void checkGeometry() const;
    void checkBuffer(const Plane& plane, size_t length, Access access) const;
    /// Between a part of the picture and the same of one in memory.
    void transfer(const vantor_rect& part, const vantor_image& memory, Transfer call) const;
    void transfer(const Plane& plane, const vantor_rect& part, uint8_t* memory, Transfer call) const;
    [[noreturn]] void refuse(const std::string& what) const;

    const char* name_;
    ImageGeometry geometry_;
    Plane luma_{};
    Plane chroma_{};
};

}  // namespace vantor
