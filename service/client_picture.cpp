#include "service/client_picture.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vantor {
namespace {

constexpr int kMinSide = 4;
constexpr int kMaxSide = 8192;

}  // namespace

ClientPicture::ClientPicture(const char* name, Access access, const ImageGeometry& geometry, Buffers buffers)
    : name_(name), geometry_(geometry) {
    checkGeometry();
    const int count = buffers.count;
    if (count != 1 && count != 2) refuse(std::to_string(count) + " buffers, expected 1 or 2");
    const size_t luma = static_cast<size_t>(geometry_.width) * static_cast<size_t>(geometry_.height);
    luma_ = {0, buffers.descriptors[0], 0};
    if (count == 1) {
        chroma_ = {0, luma_.descriptor, luma};
        checkBuffer(luma_, luma + luma / 2, access);
    } else {
        chroma_ = {1, buffers.descriptors[1], 0};
        checkBuffer(luma_, luma, access);
        checkBuffer(chroma_, luma / 2, access);
    }
}

vantor_rect ClientPicture::region() const {
    return {geometry_.cropLeft, geometry_.cropTop, geometry_.cropRight - geometry_.cropLeft + 1,
            geometry_.cropBottom - geometry_.cropTop + 1};
}

void ClientPicture::read(const vantor_rect& part, const vantor_image& to) const {
    transfer(part, to, [](int descriptor, uint8_t* memory, size_t bytes, off_t place) {
        return pread(descriptor, memory, bytes, place);
    });
}

void ClientPicture::write(const vantor_rect& part, const vantor_image& from) const {
    transfer(part, from, [](int descriptor, uint8_t* memory, size_t bytes, off_t place) {
        return pwrite(descriptor, memory, bytes, place);
    });
}

void ClientPicture::checkGeometry() const {
    const ImageGeometry& g = geometry_;
    const std::string size = std::to_string(g.width) + "x" + std::to_string(g.height);
    const auto isSide = [](int side) { return side >= kMinSide && side <= kMaxSide && side % 2 == 0; };
    if (!isSide(g.width) || !isSide(g.height)) {
        refuse("size " + size + ", expected even sides of " + std::to_string(kMinSide) + " to " +
               std::to_string(kMaxSide));
    }
    const auto isSpan = [](int first, int last, int side) {
        return first >= 0 && first % 2 == 0 && last < side && last % 2 == 1 && last - first + 1 >= kMinSide;
    };
    if (!isSpan(g.cropLeft, g.cropRight, g.width) || !isSpan(g.cropTop, g.cropBottom, g.height)) {
        refuse("region of interest (" + std::to_string(g.cropLeft) + ", " + std::to_string(g.cropTop) +
               ") to (" + std::to_string(g.cropRight) + ", " + std::to_string(g.cropBottom) +
               "), expected an even number of at least " + std::to_string(kMinSide) +
               " columns and rows from an even one on, within " + size);
    }
}

void ClientPicture::checkBuffer(const Plane& plane, size_t length, Access access) const {
    const int descriptor = plane.descriptor;
    const std::string buffer = "buffer " + std::to_string(plane.buffer);
    // Asked first, because no file system answers it: a client's own (FUSE) could let even fstat wait for
    // ever. Seals themselves are not required.
    const int seals = fcntl(descriptor, F_GET_SEALS);
    if (seals < 0) {
        refuse(buffer + (errno == EINVAL ? " is neither a memory file nor shared memory"
                                         : std::string(": ") + strerror(errno)));
    }
    if (access == Access::Write) {
        const int flags = fcntl(descriptor, F_GETFL);
        if ((flags & O_ACCMODE) == O_RDONLY || (seals & (F_SEAL_WRITE | F_SEAL_FUTURE_WRITE)) != 0) {
            refuse(buffer + " is read-only or sealed against writing");
        }
        // pwrite would append as well, wherever the region is.
        if ((flags & O_APPEND) != 0) refuse(buffer + " is open for appending (O_APPEND)");
    }
    struct stat file {};
    if (fstat(descriptor, &file) != 0) refuse(buffer + ": " + strerror(errno));
    if (static_cast<uint64_t>(file.st_size) < length) {
        refuse(buffer + " has " + std::to_string(file.st_size) + " bytes, expected at least " +
               std::to_string(length));
    }
}

void ClientPicture::transfer(const vantor_rect& part, const vantor_image& memory, Transfer call) const {
    transfer(luma_, part, memory.plane[0], call);
    transfer(chroma_, {part.x, part.y / 2, part.width, part.height / 2}, memory.plane[1], call);
}

void ClientPicture::transfer(const Plane& plane, const vantor_rect& part, uint8_t* memory,
                             Transfer call) const {
    const auto stride = static_cast<size_t>(width());
    const bool isOneRun = part.width == width();
    const int runs = isOneRun ? 1 : part.height;
    const size_t bytes = static_cast<size_t>(part.width) * static_cast<size_t>(isOneRun ? part.height : 1);
    size_t place = static_cast<size_t>(part.y) * stride + static_cast<size_t>(part.x);
    for (int run = 0; run < runs; ++run, place += stride) {
        const ssize_t done =
            call(plane.descriptor, memory + place, bytes, static_cast<off_t>(plane.start + place));
        if (done != static_cast<ssize_t>(bytes)) {
            refuse("buffer " + std::to_string(plane.buffer) + ": " +
                   (done < 0 ? strerror(errno)
                             : std::to_string(done) + " of " + std::to_string(bytes) + " bytes at " +
                                   std::to_string(plane.start + place) + " passed"));
        }
    }
}

void ClientPicture::refuse(const std::string& what) const {
    throw Refusal{std::string(name_) + ": " + what};
}

}  // namespace vantor
