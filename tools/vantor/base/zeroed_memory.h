// Memory for pictures.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

#include "tools/vantor/base/error.h"

namespace vantor::tool {

/// Zeros, which take no memory until they are touched.
class ZeroedMemory {
public:
    explicit ZeroedMemory(size_t length) : bytes_(static_cast<uint8_t*>(std::calloc(length, 1))) {
        if (!bytes_) throw UserError("cannot allocate " + std::to_string(length) + " bytes for pictures");
    }

    uint8_t* bytes() const { return bytes_.get(); }

private:
    struct Free {
        void operator()(uint8_t* bytes) const { std::free(bytes); }
    };

    std::unique_ptr<uint8_t, Free> bytes_;
};

}  // namespace vantor::tool
