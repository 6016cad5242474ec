#include "tests/golden.h"

#include "gdc_model/gdc_grid.h"

namespace vantor::test {
namespace {

using hardware::vantorClient;

template <typename Value, size_t Count>
std::array<Value, Count> read(std::istream& numbers) {
    std::array<Value, Count> values{};
    for (Value& value : values) numbers >> value;
    return values;
}

vantorClient::_GDCGrid generatedGrid(bool isRaw, std::istream& numbers) {
    Generator generator{read<uint32_t, 1>(numbers)[0]};
    const int64_t amplitude = isRaw ? 0 : read<int64_t, 1>(numbers)[0];
    const auto node = [&] {
        const uint32_t x = generator.next();
        return static_cast<int32_t>(isRaw ? x : (x >> 8) % (2 * amplitude + 1) - amplitude);
    };
    vantorClient::_GDCGrid grid;
    for (int k = 0; k < 1089; ++k) {
        grid.dX[k] = node();
        grid.dY[k] = node();
    }
    return grid;
}

std::string gridSetHash(int width, int height, std::istream& numbers) {
    auto matrix = read<double, 6>(numbers);
    const int clamp = read<int, 1>(numbers)[0];
    std::vector<_pos> points(1089);
    std::array<int, 6> s{};
    getGridSet(width, height, matrix.data(), points.data(), &s[0], &s[1], &s[2], &s[3], &s[4], &s[5], clamp);
    EXPECT_EQ(s, (read<int, 6>(numbers))) << width << "x" << height;
    std::vector<int> values;
    for (const _pos& point : points) {
        values.push_back(static_cast<int>(point.x));
        values.push_back(static_cast<int>(point.y));
    }
    return hash(values);
}

std::string warpedHash(const std::string& kind, std::istream& numbers) {
    const auto [width, height] = read<int, 2>(numbers);
    if (kind == "gridset") return gridSetHash(width, height, numbers);
    GoldenPicture src(width, height), dst(width, height);
    src.generate(false);
    const bool isMatrix = kind == "matrix";
    const int status = isMatrix
                           ? vantorClient::runGDCMatrix(dst.data, src.data, read<int16_t, 6>(numbers).data(), 1, 1)
                           : vantorClient::runGDCGrid(dst.data, src.data, generatedGrid(kind == "gridraw", numbers),
                                                      hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
    EXPECT_EQ(0, status);
    return hash(dst.bytes);
}

TEST(GdcModel, GivesTheGoldenBytes) { expectGolden(GOLDEN_GDC, 26, warpedHash); }

}  // namespace
}  // namespace vantor::test
