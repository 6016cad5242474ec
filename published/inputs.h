// What the published hashes are computed of, and how.
#pragma once

#include <cstdint>
#include <vector>

#include "published/generator.h"
#include "published/requests.h"

namespace vantor::selftest {

constexpr uint8_t kBlank = 0xA5;  ///< all bytes of a destination before the request
constexpr uint32_t kHashStart = 2166136261;

/// The samples of a source of a size.
inline void generatePicture(int width, int height, bool isExtreme, std::vector<uint8_t>& bytes) {
    auto x = static_cast<uint32_t>(width * 65536 + height);
    for (uint8_t& byte : bytes) {
        x = generatorStep(x);
        byte = static_cast<uint8_t>(isExtreme ? (x >> 31) * 255 : x >> 24);
    }
}

inline void generateGrid(const GridWarp& request, int32_t* dX, int32_t* dY) {
    uint32_t x = request.seed;
    const auto node = [&] {
        x = generatorStep(x);
        const int64_t range = 2 * request.amplitude + 1;
        return static_cast<int32_t>(request.amplitude == kRaw ? x : (x >> 8) % range - request.amplitude);
    };
    for (int k = 0; k < 1089; ++k) {
        dX[k] = node();
        dY[k] = node();
    }
}

inline uint32_t hashByte(uint32_t hash, uint32_t byte) {
    return static_cast<uint32_t>((hash ^ (byte & 255)) * uint64_t{16777619});
}

inline uint32_t hashOf(const std::vector<uint8_t>& bytes) {
    uint32_t hash = kHashStart;
    for (const uint8_t byte : bytes) hash = hashByte(hash, byte);
    return hash;
}

}  // namespace vantor::selftest
