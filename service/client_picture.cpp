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

ClientPicture::ClientPicture(const char* name, Access access, const ImageGeometry& geometry,
                             const ::android::hardware::hidl_handle& handle)
    : name_(name), geometry_(geometry) {
    checkGeometry();
    const native_handle_t* buffers = handle.getNativeHandle();
    if (buffers == nullptr) refuse("no buffers");
    const int count = buffers->numFds;
    if (count != 1 && count != 2) refuse(std::to_string(count) + " buffers, expected 1 or 2");
    const size_t luma = static_cast<size_t>(geometry_.width) * static_cast<size_t>(geometry_.height);
    luma_ = {buffers->data[0], 0};
    if (count == 1) {
        chroma_ = {luma_.descriptor, luma};
        checkBuffer(luma_.descriptor, luma + luma / 2, access);
    } else {
        chroma_ = {buffers->data[1], 0};
        checkBuffer(luma_.descriptor, luma, access);
        checkBuffer(chroma_.descriptor, luma / 2, access);
    }
}

ClientPicture::Region ClientPicture::region() const {
    return {geometry_.cropLeft, geometry_.cropTop, geometry_.cropRight - geometry_.cropLeft + 1,
            geometry_.cropBottom - geometry_.cropTop + 1};
}

void ClientPicture::read(const Region& part, const Nv12& to) const {
    transfer(part, to, 0, 0, [](int descriptor, uint8_t* memory, size_t bytes, off_t place) {
        return pread(descriptor, memory, bytes, place);
    });
}

void ClientPicture::writeRegion(const Nv12& from, int left, int top) const {
    transfer(region(), from, left, top, [](int descriptor, uint8_t* memory, size_t bytes, off_t place) {
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

void ClientPicture::checkBuffer(int descriptor, size_t length, Access access) const {
    const std::string buffer = "buffer " + std::to_string(descriptor);
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

void ClientPicture::transfer(const Region& part, const Nv12& memory, int left, int top, Transfer call) const {
    const auto at = [&](uint8_t* plane, int row) {
        return plane + static_cast<size_t>(row) * static_cast<size_t>(memory.width) + left;
    };
    transfer(luma_, part, at(memory.luma, top), memory.width, call);
    transfer(chroma_, {part.left, part.top / 2, part.width, part.height / 2}, at(memory.chroma(), top / 2),
             memory.width, call);
}

void ClientPicture::transfer(const Plane& plane, const Region& part, uint8_t* memory, int stride,
                             Transfer call) const {
    const auto width = static_cast<size_t>(geometry_.width);
    const bool isOneRun = part.width == geometry_.width && part.width == stride;
    const int runs = isOneRun ? 1 : part.height;
    const size_t bytes = static_cast<size_t>(part.width) * static_cast<size_t>(isOneRun ? part.height : 1);
    size_t place = plane.start + static_cast<size_t>(part.top) * width + static_cast<size_t>(part.left);
    for (int run = 0; run < runs; ++run) {
        const ssize_t done = call(plane.descriptor, memory, bytes, static_cast<off_t>(place));
        if (done != static_cast<ssize_t>(bytes)) {
            refuse("buffer " + std::to_string(plane.descriptor) + ": " +
                   (done < 0 ? strerror(errno)
                             : std::to_string(done) + " of " + std::to_string(bytes) + " bytes at " +
                                   std::to_string(place) + " passed"));
        }
        memory += stride;
        place += width;
    }
}

void ClientPicture::refuse(const std::string& what) const {
    throw Refusal{std::string(name_) + ": " + what};
}

}  // namespace vantor
