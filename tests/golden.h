// Generated content and hashes, as the golden files have them.
#pragma once

#include "tests/support.h"

namespace vantor::test {

struct Generator {
    uint32_t state;
    uint32_t next() { return state = state * 1664525 + 1013904223; }
};

/// An NV12 picture in one block, its region all of it.
struct GoldenPicture {
    GoldenPicture(int width, int height) : bytes(static_cast<size_t>(width * height * 3 / 2), 0xA5) {
        data.y = bytes.data();
        data.width = width;
        data.height = height;
        data.cropRight = width - 1;
        data.cropBottom = height - 1;
    }

    void generate(bool isExtreme) {
        Generator generator{static_cast<uint32_t>(data.width * 65536 + data.height)};
        for (uint8_t& byte : bytes) {
            const uint32_t x = generator.next();
            byte = static_cast<uint8_t>(isExtreme ? (x >> 31) * 255 : x >> 24);
        }
    }

    std::vector<uint8_t> bytes;
    hardware::vantorClient::BufferData data;
};

/// 32-bit FNV-1a over the little-endian bytes of the values.
template <typename Values>
std::string hash(const Values& values) {
    uint32_t hash = 2166136261;
    for (auto value : values) {
        for (size_t byte = 0; byte < sizeof value; ++byte) {
            hash = (hash ^ (static_cast<uint32_t>(value) >> (8 * byte) & 255)) * 16777619;
        }
    }
    char text[9];
    std::snprintf(text, sizeof text, "%08x", hash);
    return text;
}

/// Compares what `hashOf(kind, numbers)` gives for each line of a golden file with the hash at the line's
/// end.
inline void expectGolden(const char* path, int cases,
                         const std::function<std::string(const std::string&, std::istream&)>& hashOf) {
    std::ifstream file(path);
    for (std::string line, kind, expected; std::getline(file, line);) {
        if (line[0] == '#') continue;
        std::istringstream numbers(line);
        numbers >> kind;
        const std::string actual = hashOf(kind, numbers);
        numbers >> expected;
        EXPECT_EQ(actual, expected) << line;
        --cases;
    }
    EXPECT_EQ(cases, 0);
}

}  // namespace vantor::test
