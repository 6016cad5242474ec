// The memory that requests compute in. It outlives them, so that only the first ones pay for it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>

namespace vantor {

/// A packed NV12 picture of even size, whose chroma directly follows its luma.
struct Nv12 {
    uint8_t* luma;
    int width;
    int height;

    size_t lumaBytes() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
    uint8_t* chroma() const { return luma + lumaBytes(); }
};

/// Room for one picture at a time, as large as the largest so far.
class PictureMemory {
public:
    /// A picture with bytes of earlier requests in it: write all of it before any of it is shown to a client.
    Nv12 picture(int width, int height);

private:
    std::unique_ptr<uint8_t[]> bytes_;
    size_t size_ = 0;
};

/// What one request needs.
struct WorkingMemory {
    PictureMemory src;
    PictureMemory dst;
};

/// Lends memory to requests, one piece each: there are as many as ran at once.
class MemoryPool {
public:
    /// A piece on loan.
    class Loan {
    public:
        explicit Loan(MemoryPool& pool);
        ~Loan();
        Loan(const Loan&) = delete;
        Loan& operator=(const Loan&) = delete;

        WorkingMemory* operator->() { return &piece_.front(); }

    private:
        MemoryPool& pool_;
        std::list<WorkingMemory> piece_;
    };

private:
    std::mutex mutex_;
    std::list<WorkingMemory> idle_;
};

}  // namespace vantor
