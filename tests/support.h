// What tests share: memory that catches stray accesses, and picture contents.
#pragma once

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"
#include "processor/instruction_set.h"

namespace vantor::test {

/// Prints the table that this run uses. The tests run under every limit that users can set, so that each
/// table this processor supports has its turn.
template <typename Kernels, int Count>
void reportTables(const char* family, const Kernels* const (&tables)[Count]) {
    EXPECT_EQ(tables[0]->set, InstructionSet::Plain);
    std::printf("kernel table tested: %s/%s\n", family, instructionSetName(bestTable(tables).set));
    for (int i = 1; i < Count; ++i) EXPECT_LT(tables[i - 1]->set, tables[i]->set);
}

/// Which end of a plane touches an unmapped page.
enum class Guard { Front, Back };

/// `size` bytes with an unmapped page directly before or directly behind them.
class GuardedPlane {
public:
    GuardedPlane(size_t size, Guard guard) : size_(size) {
        const auto page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t inner = (size / page + 1) * page;  // at least one page, for planes of no bytes
        mapped_ = inner + 2 * page;
        base_ = static_cast<uint8_t*>(mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        if (base_ == MAP_FAILED || mprotect(base_ + page, inner, PROT_READ | PROT_WRITE) != 0) std::abort();
        data_ = base_ + page + (guard == Guard::Back ? inner - size : 0);
    }
    GuardedPlane(const std::vector<uint8_t>& bytes, Guard guard) : GuardedPlane(bytes.size(), guard) {
        if (size_ != 0) std::memcpy(data_, bytes.data(), size_);
    }
    ~GuardedPlane() { munmap(base_, mapped_); }
    GuardedPlane(const GuardedPlane&) = delete;
    GuardedPlane& operator=(const GuardedPlane&) = delete;

    uint8_t* data() { return data_; }
    std::vector<uint8_t> bytes() const { return {data_, data_ + size_}; }

private:
    size_t size_;
    size_t mapped_;
    uint8_t* base_;
    uint8_t* data_;
};

/// Rows a whole number of pages apart, with an unmapped page directly before or directly behind the bytes of each.
class GuardedRows {
public:
    GuardedRows(int rows, size_t pages, Guard guard)
        : rows_(static_cast<size_t>(rows)),
          page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))),
          guard_(guard),
          stride_(pages * page_) {
        void* memory = mmap(nullptr, mapped(), PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        first_ = static_cast<uint8_t*>(memory) + page_;
        for (size_t i = 0; i < rows_; ++i) {
            if (mprotect(first_ + i * stride_, page_, PROT_READ | PROT_WRITE) != 0) std::abort();
        }
    }
    ~GuardedRows() { munmap(first_ - page_, mapped()); }
    GuardedRows(const GuardedRows&) = delete;
    GuardedRows& operator=(const GuardedRows&) = delete;

    std::ptrdiff_t stride() const { return static_cast<std::ptrdiff_t>(stride_); }

    /// The first row, with these bytes in rows of `size`.
    uint8_t* fill(const std::vector<uint8_t>& bytes, size_t size) {
        uint8_t* data = first_ + (guard_ == Guard::Back ? page_ - size : 0);
        for (size_t i = 0; i < bytes.size() / size; ++i) std::memcpy(data + i * stride_, &bytes[i * size], size);
        return data;
    }

private:
    size_t mapped() const { return (rows_ * stride_) + page_; }

    size_t rows_;
    size_t page_;
    Guard guard_;
    size_t stride_;
    uint8_t* first_;
};

/// An NV12 picture in one block, its region all of it.
inline hardware::vantorClient::BufferData wholePicture(std::vector<uint8_t>& block, int width, int height) {
    block.resize(static_cast<size_t>(width * height * 3 / 2));
    return {block.data(), nullptr, -1, -1, width, height, 0, 0, width - 1, height - 1};
}

class Random {
public:
    explicit Random(unsigned seed) : engine_(seed) {}

    /// From `low` to `high`, both included.
    int between(int low, int high) {
        const auto range = static_cast<unsigned>(high - low) + 1;
        return low + static_cast<int>(engine_() % range);
    }

    /// Noise, noise of 0 and 255 alone, alternating extremes or a ramp: noise seldom reaches overflow.
    std::vector<uint8_t> content(size_t size) {
        const int kind = between(0, 3);
        std::vector<uint8_t> bytes(size);
        for (size_t i = 0; i < size; ++i) {
            const auto noise = static_cast<uint8_t>(engine_() >> 7);
            const int choices[] = {noise, noise < 128 ? 0 : 255, i % 2 ? 255 : 0, static_cast<int>(i * 7)};
            bytes[i] = static_cast<uint8_t>(choices[kind]);
        }
        return bytes;
    }

private:
    std::mt19937 engine_;
};

/// VANTOR_SEED, or a new seed every day: tests print it where they fail.
inline unsigned seed() {
    const char* text = std::getenv("VANTOR_SEED");
    return text ? static_cast<unsigned>(std::atol(text)) : static_cast<unsigned>(time(nullptr) / 86400);
}

}  // namespace vantor::test
