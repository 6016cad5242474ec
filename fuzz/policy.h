// What all fuzzers hold the code to, and what they feed it.
#pragma once

#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/asan_interface.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "processor/instruction_set.h"
#include "published/generator.h"

namespace vantor::fuzz {

/// @name Policy
/// Two implementations of one thing may not differ in a single byte. What is written is filled with canaries
/// first, the gaps between rows included, and has more of them on both sides, poisoned; what is read ends
/// where its block of memory ends, and may not change.
/// @{
constexpr int kBytesThatMayDiffer = 0;
constexpr uint8_t kCanary = 0xA5;
constexpr size_t kMargin = 64;
/// @}

/// @name Limits of what is fed, for the sake of speed: the sanitizers cost a factor of ten
/// @{
constexpr int kMaxSide = 200;         ///< of most pictures
constexpr int kMaxWideSide = 2400;    ///< of some, so that there is more than one strip of columns
constexpr int kMaxStridePadding = 9;  ///< bytes after a row
constexpr int kMaxWarpSide = 32;      ///< of pictures given to the model's core
constexpr int kMaxWarpWidth = 112;    ///< of pictures given to requests, which take none below 96 x 64
constexpr int kMaxWarpHeight = 66;
constexpr size_t kMaxFrameBytes = size_t{1} << 22;   ///< of files that claim more, nothing is decoded
constexpr size_t kMaxFrames = 64;                    ///< read from a clip
constexpr size_t kMaxBufferBytes = 16000;            ///< shared with the service
constexpr size_t kMaxReplayBytes = size_t{1} << 18;  ///< of a record's result, where its request is run again
/// @}

using Bytes = std::vector<uint8_t>;

/// Aborts the run as a finding.
[[noreturn]] inline void fail(const char* what, int line) {
    std::fprintf(stderr, "fuzz: line %d: not so: %s\n", line, what);
    std::abort();
}

#define FUZZ_EXPECT(condition) ((condition) ? void() : ::vantor::fuzz::fail(#condition, __LINE__))

/// Numbers and contents from the fuzzer's bytes.
class Input : public FuzzedDataProvider {
public:
    using FuzzedDataProvider::FuzzedDataProvider;

    /// From `low` to `high`, both included.
    int between(int low, int high) { return ConsumeIntegralInRange(low, high); }

    /// One in eight times anything up to `most`, else 0.
    int seldom(int most) { return between(0, 7) == 0 ? between(0, most) : 0; }

    /// Any number of 32 bits, near the edges of ranges as often as not.
    int32_t any() {
        constexpr int32_t kEdges[] = {0, 1, -1, 2, 4, 8192, 8193, INT32_MAX, INT32_MIN, INT32_MAX - 1};
        return ConsumeBool() ? PickValueInArray(kEdges) : ConsumeIntegral<int32_t>();
    }

    /// A side of a picture: one in sixteen is wide.
    int side(int smallest = 1) {
        return between(0, 15) == 0 ? between(kMaxSide, kMaxWideSide) : between(smallest, kMaxSide);
    }

    /// A few given bytes over and over, noise, or alternating extremes.
    Bytes content(size_t size) {
        const int kind = between(0, 3);
        Bytes given = ConsumeBytes<uint8_t>(kind == 0 ? 64 : 4);
        given.resize(std::max<size_t>(given.size(), 4), 0x80);
        uint32_t state = 1;
        for (size_t i = 0; i < 4; ++i) state = static_cast<uint32_t>(uint64_t{state} << 8 ^ given[i]);
        Bytes bytes(size);
        for (size_t i = 0; i < size; ++i) {
            state = generatorStep(state);
            const auto noise = static_cast<uint8_t>(state >> 24);
            bytes[i] = kind == 0   ? given[i % given.size()]
                       : kind == 1 ? noise
                       : kind == 2 ? (noise < 128 ? 0 : 255)
                                   : (i % 2 == 0 ? 0 : 255);
        }
        return bytes;
    }
};

/// Bytes to be written to, between poisoned canaries.
class Output {
public:
    explicit Output(size_t size) : bytes_(size + 2 * kMargin, kCanary) {
        ASAN_POISON_MEMORY_REGION(bytes_.data(), kMargin);
        ASAN_POISON_MEMORY_REGION(data() + size, kMargin);
    }
    ~Output() {
        ASAN_UNPOISON_MEMORY_REGION(bytes_.data(), bytes_.size());
        const auto isIntact = [](const uint8_t* margin) {
            return std::all_of(margin, margin + kMargin, [](uint8_t byte) { return byte == kCanary; });
        };
        FUZZ_EXPECT(isIntact(bytes_.data()) && isIntact(bytes_.data() + bytes_.size() - kMargin));
    }
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    uint8_t* data() { return bytes_.data() + kMargin; }
    size_t size() const { return bytes_.size() - 2 * kMargin; }

private:
    Bytes bytes_;
};

/// Holds two outputs to the policy.
inline void expectSame(const void* actual, const void* expected, size_t size) {
    const auto* a = static_cast<const uint8_t*>(actual);
    const auto* b = static_cast<const uint8_t*>(expected);
    int different = 0;
    for (size_t i = 0; i < size; ++i) different += a[i] != b[i];
    FUZZ_EXPECT(different <= kBytesThatMayDiffer);
}

/// Runs `product` and `reference` from one source to an output each, and compares all of it.
template <typename Product, typename Reference>
void expectSameOutput(const Bytes& source, size_t outputBytes, Product&& product, Reference&& reference) {
    Bytes given = source;
    given.shrink_to_fit();
    Output actual(outputBytes), expected(outputBytes);
    product(given.data(), actual.data());
    reference(source.data(), expected.data());
    FUZZ_EXPECT(given == source);
    expectSame(actual.data(), expected.data(), outputBytes);
}

/// Calls `use` with each table but the plain one that this CPU can run.
template <typename Kernels, int Count, typename Use>
void forEachVectorTable(const Kernels* const (&tables)[Count], Use&& use) {
    for (int i = 1; i < Count; ++i) {
        if (cpuHas(tables[i]->set)) use(*tables[i]);
    }
}

}  // namespace vantor::fuzz
