#include "tools/vantor/library/shared_buffer.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "tools/vantor/base/error.h"

namespace vantor::tool {

SharedBuffer::SharedBuffer(size_t length)
    : length_(length), descriptor_(memfd_create("picture", MFD_CLOEXEC)) {
    void* address = MAP_FAILED;
    if (descriptor_ >= 0 && ftruncate(descriptor_, static_cast<off_t>(length)) == 0) {
        address = mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor_, 0);
    }
    if (address == MAP_FAILED) {
        const std::string reason = std::strerror(errno);
        if (descriptor_ >= 0) close(descriptor_);
        throw UserError("cannot allocate a shared buffer of " + std::to_string(length) + " bytes: " + reason);
    }
    bytes_ = static_cast<uint8_t*>(address);
}

SharedBuffer::~SharedBuffer() {
    munmap(bytes_, length_);
    close(descriptor_);
}

}  // namespace vantor::tool
