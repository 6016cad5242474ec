#include "service/owned_descriptor.h"

#include <unistd.h>

#include <utility>

namespace vantor {

OwnedDescriptor& OwnedDescriptor::operator=(OwnedDescriptor&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
}

OwnedDescriptor::~OwnedDescriptor() {
    if (descriptor_ >= 0) close(descriptor_);
}

int OwnedDescriptor::release() {
    return std::exchange(descriptor_, -1);
}

}  // namespace vantor
