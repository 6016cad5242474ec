#include "service/working_memory.h"

namespace vantor {

vantor_image PictureMemory::picture(int width, int height) {
    const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
    const size_t size = luma + luma / 2;
    if (size > size_) {
        size_ = 0;
        bytes_.reset();  // not both at once
        bytes_.reset(new uint8_t[size]);
        size_ = size;
    }
    return {VANTOR_NV12, width, height, {bytes_.get(), bytes_.get() + luma, nullptr}, {width, width, 0}};
}

}  // namespace vantor
