// Whole warps and grid set-ups against hashes from a separate script; see golden_gdc.txt.
#include <gtest/gtest.h>

#include <array>
#include <fstream>
#include <string>
#include <vector>

#include "gdc_model/gdc_grid.h"
#include "hardware/vantorClient/vantor_client.h"

namespace {

using hardware::vantorClient;
using Bytes = std::vector<uint8_t>;

struct Generator {
    uint32_t state;
    uint32_t next() { return state = state * 1664525 + 1013904223; }
};

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

template <typename Warp>
std::string warpedHash(int width, int height, Warp&& warp) {
    Bytes src(static_cast<size_t>(width * height * 3 / 2)), dst(src.size());
    Generator content{static_cast<uint32_t>(width * 65536 + height)};
    for (uint8_t& byte : src) byte = static_cast<uint8_t>(content.next() >> 24);
    vantorClient::BufferData from, to;
    from.width = to.width = width;
    from.height = to.height = height;
    from.y = src.data();
    to.y = dst.data();
    to.cropRight = width - 1;
    to.cropBottom = height - 1;
    EXPECT_EQ(0, warp(to, from));
    return hash(dst);
}

/// Nodes are whole generator steps for an amplitude below 0.
std::string gridHash(int width, int height, uint32_t seed, int64_t amplitude) {
    vantorClient::_GDCGrid grid;
    Generator nodes{seed};
    const auto node = [&] {
        const uint32_t x = nodes.next();
        return static_cast<int32_t>(amplitude < 0 ? x : (x >> 8) % (2 * amplitude + 1) - amplitude);
    };
    for (int k = 0; k < 1089; ++k) {
        grid.dX[k] = node();
        grid.dY[k] = node();
    }
    return warpedHash(width, height, [&](const auto& dst, const auto& src) {
        return vantorClient::runGDCGrid(dst, src, grid, hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
    });
}

std::string matrixHash(int width, int height, const std::array<int16_t, 6>& matrix) {
    return warpedHash(width, height, [&](const auto& dst, const auto& src) {
        return vantorClient::runGDCMatrix(dst, src, matrix.data(), hardware::IMAGE_FORMAT_NV12,
                                          hardware::GDC_C_MODEL);
    });
}

std::string gridSetHash(int width, int height, std::array<double, 9> matrix, int clamp,
                        const std::array<int, 6>& scales) {
    std::vector<_pos> points(1089);
    std::array<int, 6> s{};
    getGridSet(width, height, matrix.data(), points.data(), &s[0], &s[1], &s[2], &s[3], &s[4], &s[5], clamp);
    EXPECT_EQ(s, scales) << width << "x" << height;
    std::vector<int> values;
    for (const _pos& point : points) {
        values.push_back(static_cast<int>(point.x));
        values.push_back(static_cast<int>(point.y));
    }
    return hash(values);
}

template <typename Array>
Array read(std::istream& line, size_t count) {
    Array values{};
    for (size_t i = 0; i < count; ++i) line >> values[i];
    return values;
}

TEST(GdcModel, GivesTheGoldenBytes) {
    std::ifstream file(GOLDEN_GDC);
    std::string kind, expected;
    int width, height, cases = 0;
    for (; file >> kind >> width >> height; ++cases) {
        std::string actual;
        if (kind == "grid") {
            const auto values = read<std::array<int64_t, 2>>(file, 2);
            actual = gridHash(width, height, static_cast<uint32_t>(values[0]), values[1]);
        } else if (kind == "gridraw") {
            actual = gridHash(width, height, read<std::array<uint32_t, 1>>(file, 1)[0], -1);
        } else if (kind == "matrix") {
            actual = matrixHash(width, height, read<std::array<int16_t, 6>>(file, 6));
        } else {
            const auto matrix = read<std::array<double, 9>>(file, 6);
            const int clamp = read<std::array<int, 1>>(file, 1)[0];
            actual = gridSetHash(width, height, matrix, clamp, read<std::array<int, 6>>(file, 6));
        }
        file >> expected;
        EXPECT_EQ(actual, expected) << kind << " " << width << "x" << height << ", case " << cases;
    }
    EXPECT_EQ(cases, 26);
}

}  // namespace
