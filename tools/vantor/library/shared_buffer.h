// Memory that other processes, and the service, can map by its descriptor.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vantor::tool {

class SharedBuffer {
public:
    explicit SharedBuffer(size_t length);
    ~SharedBuffer();
    SharedBuffer(const SharedBuffer&) = delete;
    SharedBuffer& operator=(const SharedBuffer&) = delete;

    uint8_t* bytes() const { return bytes_; }
    int descriptor() const { return descriptor_; }

private:
    size_t length_;
    int descriptor_;
    uint8_t* bytes_;
};

}  // namespace vantor::tool
