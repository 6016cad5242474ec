// The memory that requests compute in. It outlives them, so that only the first ones pay for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "vantor/vantor.h"

namespace vantor {

/// Room for one picture at a time, as large as the largest so far.
class PictureMemory {
public:
    /// A picture in NV12, of even size and without gaps, with bytes of earlier requests in it: write all that
    /// a client is to see.
    vantor_image picture(int width, int height);

private:
    std::unique_ptr<uint8_t[]> bytes_;
    size_t size_ = 0;
};

/// What one request needs.
struct WorkingMemory {
    PictureMemory src;
    PictureMemory dst;
};

}  // namespace vantor
