#include "service/working_memory.h"

namespace vantor {

Nv12 PictureMemory::picture(int width, int height) {
    const size_t size = static_cast<size_t>(width) * static_cast<size_t>(height) * 3 / 2;
    if (size > size_) {
        size_ = 0;
        bytes_.reset();  // not both at once
        bytes_.reset(new uint8_t[size]);
        size_ = size;
    }
    return {bytes_.get(), width, height};
}

MemoryPool::Loan::Loan(MemoryPool& pool) : pool_(pool) {
    const std::lock_guard<std::mutex> lock(pool_.mutex_);
    if (pool_.idle_.empty()) pool_.idle_.emplace_front();
    piece_.splice(piece_.begin(), pool_.idle_, pool_.idle_.begin());
}

MemoryPool::Loan::~Loan() {
    const std::lock_guard<std::mutex> lock(pool_.mutex_);
    pool_.idle_.splice(pool_.idle_.begin(), piece_);
}

}  // namespace vantor
