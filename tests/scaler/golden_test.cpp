// Whole pictures against hashes from golden_scaler.py, which shares no code with the library.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"
#include "scaler/bicubic_luma.h"

namespace {

using Bytes = std::vector<uint8_t>;

struct Case {
    std::string kind;
    int srcWidth, srcHeight, dstWidth, dstHeight;
    int variant;  // entry: picture format; luma: position bits
    int extremes;
    uint32_t hash;
};

Bytes source(const Case& c) {
    auto state = static_cast<uint32_t>(c.srcWidth * 65536 + c.srcHeight);
    Bytes bytes(static_cast<size_t>(c.srcWidth * c.srcHeight * 3 / 2));
    for (uint8_t& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<uint8_t>(c.extremes ? (state >> 31) * 255 : state >> 24);
    }
    return bytes;
}

uint32_t hash(const Bytes& bytes) {
    uint32_t value = 2166136261;
    for (uint8_t byte : bytes) value = (value ^ byte) * 16777619;
    return value;
}

Bytes scaleEntry(const Case& c, Bytes src) {
    Bytes dst(static_cast<size_t>(c.dstWidth * c.dstHeight * 3 / 2), 0xA5);
    hardware::vantorClient::BufferData from, to;
    from.y = src.data();
    from.width = c.srcWidth;
    from.height = c.srcHeight;
    to.y = dst.data();
    to.width = c.dstWidth;
    to.height = c.dstHeight;
    EXPECT_EQ(0, hardware::vantorClient::runInterpBicubic(to, from, c.variant));
    return dst;
}

Bytes scaleLuma(const Case& c, Bytes src) {
    Bytes dst(static_cast<size_t>(c.dstWidth * c.dstHeight));
    const auto run = [&](auto* kernel) {
        kernel(src.data(), dst.data(), c.srcWidth, c.srcHeight, c.srcWidth, c.dstWidth, c.dstHeight,
               c.dstWidth);
    };
    if (c.variant == 6) {
        run(interpolateBCY);
    } else {
        run(interpolateBCY_1);
        run(interpolateBCY_2);
    }
    return dst;
}

TEST(Scaler, GivesTheGoldenBytes) {
    std::ifstream file(GOLDEN_SCALER);
    int cases = 0;
    Case c;
    while (file >> c.kind >> std::dec >> c.srcWidth >> c.srcHeight >> c.dstWidth >> c.dstHeight >>
           c.variant >> c.extremes >> std::hex >> c.hash) {
        const Bytes dst = c.kind == "entry" ? scaleEntry(c, source(c)) : scaleLuma(c, source(c));
        EXPECT_EQ(hash(dst), c.hash) << c.kind << " " << c.srcWidth << "x" << c.srcHeight << " to "
                                     << c.dstWidth << "x" << c.dstHeight << " variant " << c.variant
                                     << " extremes " << c.extremes;
        ++cases;
    }
    EXPECT_EQ(cases, 32);
}

}  // namespace
