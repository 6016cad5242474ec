// What the C library does beside scaling and warping: grids, files of them, RGB, hashes, comparison, steps.
#include <cstdlib>
#include <limits>
#include <new>
#include <numeric>

#include "bindings/c/vantor/vantor.h"
#include "tests/support.h"

namespace {
/// So many allocations succeed, then one fails.
thread_local int allocationsLeft = -1;
}  // namespace

__attribute__((noinline)) void* operator new(size_t size) {
    if (allocationsLeft >= 0 && allocationsLeft-- == 0) throw std::bad_alloc();
    if (void* memory = std::malloc(size ? size : 1)) return memory;
    throw std::bad_alloc();
}
__attribute__((noinline)) void operator delete(void* memory) noexcept { std::free(memory); }
__attribute__((noinline)) void operator delete(void* memory, size_t) noexcept { std::free(memory); }

namespace {

using Bytes = std::vector<uint8_t>;
constexpr int kFormats[] = {VANTOR_GRAY8, VANTOR_NV12, VANTOR_NV21, VANTOR_I420};

struct Map {
    std::vector<float> x, y;
    int width, height;

    template <typename Source>
    Map(int mapWidth, int mapHeight, const Source& source) : width(mapWidth), height(mapHeight) {
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                const auto [sourceX, sourceY] = source(column, row);
                x.push_back(static_cast<float>(sourceX));
                y.push_back(static_cast<float>(sourceY));
            }
        }
    }
};

using Position = std::pair<double, double>;

/// A view with gaps of 5 bytes between rows.
struct Picture {
    Picture(int format, int width, int height) {
        const int planes = format == VANTOR_GRAY8 ? 1 : format == VANTOR_I420 ? 3 : 2;
        view = {format, width, height, {}, {}};
        for (int i = 0; i < planes; ++i) {
            view.stride[i] = (i > 0 && planes == 3 ? width / 2 : width) + 5;
            bytes[i].assign(static_cast<size_t>(view.stride[i] * (i > 0 ? height / 2 : height)), 0xEE);
            view.plane[i] = bytes[i].data();
        }
    }
    void fill() {
        std::minstd_rand random(vantor::test::seed());
        for (Bytes& plane : bytes) std::generate(plane.begin(), plane.end(), [&] { return random() >> 8 & 255; });
    }
    /// Y, U or V.
    uint8_t& at(int component, int x, int y) {
        if (component == 0 || view.format == VANTOR_I420) return view.plane[component][y * view.stride[component] + x];
        return view.plane[1][y * view.stride[1] + 2 * x + ((component == 2) == (view.format == VANTOR_NV12))];
    }
    Bytes bytes[3];
    vantor_image view;
};

void expectNear(const vantor_grid& a, const vantor_grid& b, int width, int height, double pixels, int margin) {
    const int frameWidth = std::max((width + 15) / 16 * 16, 96), frameHeight = std::max((height + 1) / 2 * 2, 64);
    for (int k = 0; k < VANTOR_GRID_NODES; ++k) {
        const int column = k % 33, row = k / 33;
        if (column < margin || row < margin || column * frameWidth > (32 - margin) * width + margin ||
            row * frameHeight > (32 - margin) * height + margin)
            continue;
        ASSERT_NEAR(a.dx[k], b.dx[k], pixels * 8192 * 256 / frameWidth) << width << "x" << height << " node " << k;
        ASSERT_NEAR(a.dy[k], b.dy[k], pixels * 6144 * 256 / frameHeight) << width << "x" << height << " node " << k;
    }
}

TEST(CGrids, OfMapsAreThoseOfTheirFormulas) {
    const double k[5] = {-0.2, 0.05, 0.01, 0.003, -0.002};
    for (const auto& size : {std::pair(1920, 1080), {333, 221}, {64, 48}}) {
        const int width = size.first, height = size.second;
        const double cx = (width - 1) / 2.0, cy = (height - 1) / 2.0, radius = std::hypot(width, height) / 2;
        const Map bent(width, height, [&](int column, int row) {
            const double x = (column - cx) / radius, y = (row - cy) / radius, r2 = x * x + y * y;
            const double radial = 1 + r2 * (k[0] + r2 * (k[1] + r2 * k[2]));
            return Position(cx + radius * (x * radial + 2 * k[3] * x * y + k[4] * (r2 + 2 * x * x)),
                            cy + radius * (y * radial + k[3] * (r2 + 2 * y * y) + 2 * k[4] * x * y));
        });
        vantor_grid made, expected;
        ASSERT_EQ(vantor_grid_from_map(&made, bent.x.data(), bent.y.data(), width, height), VANTOR_OK);
        ASSERT_EQ(vantor_grid_from_lens(&expected, k, width, height), VANTOR_OK);
        expectNear(made, expected, width, height, 0.01, 1);

        const vantor_calibration camera{
            {radius, 0, cx, 0, radius, cy, 0, 0, 1}, {k[0], k[1], k[3], k[4], k[2]}, 5, 0, width, height, 0, 0};
        double straight[9];
        ASSERT_EQ(vantor_grid_from_calibration(&made, &camera, width, height, straight), VANTOR_OK);
        expectNear(made, expected, width, height, 0.001, 0);
        EXPECT_NEAR(straight[2], cx, 1e-9);

        // Straight maps go on straight to the outermost nodes, and beyond the picture.
        const vantor_transform turn{5, 2, 0.1, 0, 3, -4, {}, 0, 0, 0};
        const double c = std::cos(5 * std::acos(-1) / 180) / 2, s = std::sin(5 * std::acos(-1) / 180) / 2;
        const Map turned(width, height, [&](int column, int row) {
            const double x = c * (column - cx) - s * (row - cy), y = s * (column - cx) + c * (row - cy);
            return Position(cx + x - 0.1 * y - 3, cy + y + 4);
        });
        ASSERT_EQ(vantor_grid_from_map(&made, turned.x.data(), turned.y.data(), width, height), VANTOR_OK);
        ASSERT_EQ(vantor_grid_from_transform(&expected, &turn, width, height), VANTOR_OK);
        expectNear(made, expected, width, height, 0.01, 0);
        double rms, largest;
        ASSERT_EQ(
            vantor_grid_error(&made, turned.x.data(), turned.y.data(), width, height, &rms, &largest, nullptr, nullptr),
            VANTOR_OK);
        EXPECT_LT(largest, 0.1);
        EXPECT_LT(rms, 0.05);
    }
}

TEST(CGrids, PositionsAndErrorsAreThoseOfTheEngine) {
    const vantor_grid grid{};
    for (const auto& size : {std::pair(96, 64), {50, 37}, {1, 1}}) {
        const int width = size.first, height = size.second;
        std::vector<int32_t> x(static_cast<size_t>(width * height)), y(x);
        ASSERT_EQ(vantor_grid_positions(&grid, width, height, x.data(), y.data()), VANTOR_OK);
        Map map(width, height, [&](int column, int row) {
            EXPECT_EQ(x[static_cast<size_t>(row * width + column)], 256 * column);
            EXPECT_EQ(y[static_cast<size_t>(row * width + column)], 256 * row);
            return Position(column + 3, row - 4);
        });
        double rms = -1, largest = -1;
        int32_t atX = -1, atY = -1;
        const auto measure = [&] {
            return vantor_grid_error(&grid, map.x.data(), map.y.data(), width, height, &rms, &largest, &atX, &atY);
        };
        EXPECT_EQ(measure(), VANTOR_OK);
        EXPECT_EQ(largest, width > 1 ? 5 : 0);  // where the map is outside does not count
        EXPECT_EQ(rms, largest);
        EXPECT_EQ(atX, 0);
        EXPECT_EQ(atY, width > 1 ? 4 : 0);
        map.y.back() = std::numeric_limits<float>::infinity();
        EXPECT_EQ(measure(), VANTOR_INVALID);
        const std::string last = "(" + std::to_string(width - 1) + ", " + std::to_string(height - 1) + ")";
        EXPECT_NE(std::string(vantor_message(nullptr)).find(last), std::string::npos) << vantor_message(nullptr);
    }
}

TEST(CGrids, FilesKeepEveryValue) {
    vantor_grid grid, read;
    std::minstd_rand random(vantor::test::seed());
    for (int k = 0; k < VANTOR_GRID_NODES; ++k) grid.dx[k] = grid.dy[k] = static_cast<int32_t>(random() * 2654435761U);
    grid.dx[0] = 0x01020384;
    grid.dy[1088] = INT32_MIN;
    for (const int form : {VANTOR_GRID_BINARY, VANTOR_GRID_TEXT}) {
        size_t needed = 0;
        ASSERT_EQ(vantor_grid_format(&grid, form, "turn", nullptr, 0, &needed), VANTOR_OK);
        std::string bytes(needed + 1, '~');
        EXPECT_EQ(vantor_grid_format(&grid, form, "turn", bytes.data(), needed - 1, &needed), VANTOR_INVALID);
        EXPECT_EQ(bytes[0], '~');
        ASSERT_EQ(vantor_grid_format(&grid, form, "turn", bytes.data(), bytes.size(), &needed), VANTOR_OK);
        EXPECT_EQ(bytes[needed], '~');
        ASSERT_EQ(vantor_grid_parse(&read, bytes.data(), needed), VANTOR_OK);
        EXPECT_EQ(std::memcmp(&read, &grid, sizeof grid), 0);
        if (form == VANTOR_GRID_BINARY) {
            EXPECT_EQ(needed, 8712u);
            EXPECT_EQ(bytes.substr(0, 4), "\x84\x03\x02\x01");
        } else {
            EXPECT_NE(bytes.find("\n# turn\ndX\n16909188 "), std::string::npos);
            bytes.replace(bytes.find("dY"), 2, "\x9B!");
            EXPECT_EQ(vantor_grid_parse(&read, bytes.data(), needed), VANTOR_INVALID);
            EXPECT_EQ(std::string(vantor_message(nullptr)).find("not a grid file: line 37: '?!', expected dY"), 0u)
                << vantor_message(nullptr);
        }
    }
}

TEST(CRgb, IsEncodedAndDecoded) {
    // Red 3x3 pictures: luma and chroma worked by hand, and what they decode to.
    const struct {
        int encoding, y, u, v, red, green, blue;
    } cases[] = {{VANTOR_BT601_LIMITED, 82, 90, 239, 254, 1, 1},
                 {VANTOR_BT709_LIMITED, 63, 102, 240, 255, 1, 0},
                 {VANTOR_BT601_FULL, 76, 85, 255, 254, 0, 0},
                 {VANTOR_BT709_FULL, 54, 99, 255, 254, 0, 0}};
    for (const auto& c : cases) {
        for (const int format : kFormats) {
            const bool isGray = format == VANTOR_GRAY8;
            Bytes rgb(11 * 3, 0xEE);
            for (size_t i = 0; i < 27; ++i) rgb[11 * (i / 9) + i % 9] = i % 3 == 0 ? 255 : 0;
            const vantor_rgb view{3, 3, rgb.data(), 11};
            Picture picture(format, isGray ? 3 : 4, isGray ? 3 : 4),
                expected(picture.view.format, picture.view.width, picture.view.height);
            for (int component = 0; component < (isGray ? 1 : 3); ++component) {
                const int size = component > 0 ? 2 : picture.view.width;
                for (int i = 0; i < size * size; ++i)
                    expected.at(component, i % size, i / size) = static_cast<uint8_t>(component == 0   ? c.y
                                                                                      : component == 1 ? c.u
                                                                                                       : c.v);
            }
            ASSERT_EQ(vantor_from_rgb(&picture.view, &view, c.encoding), VANTOR_OK) << vantor_message(nullptr);
            for (int i = 0; i < 3; ++i) EXPECT_EQ(picture.bytes[i], expected.bytes[i]) << c.encoding << " " << format;
            ASSERT_EQ(vantor_to_rgb(&view, &picture.view, c.encoding), VANTOR_OK);
            EXPECT_EQ(rgb[9], 0xEE);
            EXPECT_EQ(Bytes(rgb.begin() + 28, rgb.begin() + 31),
                      isGray ? Bytes(3, rgb[0])
                             : (Bytes{static_cast<uint8_t>(c.red), static_cast<uint8_t>(c.green),
                                      static_cast<uint8_t>(c.blue)}))
                << c.encoding << " " << format;
        }
    }
}

TEST(CLooks, HashesAreXxh64) {
    Bytes bytes;
    for (int i = 0; i < 222; ++i) bytes.push_back(static_cast<uint8_t>(i * i * 7));
    const std::pair<size_t, uint64_t> known[] = {{0, 0xEF46DB3751D8E999},  // as xxh64sum says
                                                 {1, 0xE934A84ADB052768},
                                                 {14, 0x9411E8CE87604AAC},
                                                 {36, 0x310BE521C7FF91B6},
                                                 {222, 0x4435BBB5E0032739}};
    for (const auto& [size, expected] : known) {
        for (size_t first = 0; first <= size; first += 5) {
            vantor_hash hash;
            vantor_hash_begin(&hash);
            vantor_hash_bytes(&hash, bytes.data(), first);
            vantor_hash_bytes(&hash, bytes.data() + first, size - first);
            EXPECT_EQ(vantor_hash_value(&hash), expected) << first << " of " << size;
        }
    }
    for (const int format : kFormats) {
        Picture picture(format, 6, 4);
        picture.fill();
        vantor_hash ofImage, ofRows;
        vantor_hash_begin(&ofImage);
        vantor_hash_begin(&ofRows);
        ASSERT_EQ(vantor_hash_image(&ofImage, &picture.view), VANTOR_OK);
        for (int i = 0; i < 3; ++i) {
            for (uint8_t* row = picture.bytes[i].data(); row != picture.bytes[i].data() + picture.bytes[i].size();
                 row += picture.view.stride[i])
                vantor_hash_bytes(&ofRows, row, static_cast<size_t>(picture.view.stride[i] - 5));
        }
        EXPECT_EQ(vantor_hash_value(&ofImage), vantor_hash_value(&ofRows)) << format;
    }
}

TEST(CLooks, DifferencesAreCountedByComponent) {
    for (const int format : {VANTOR_NV12, VANTOR_NV21}) {
        Picture a(VANTOR_I420, 6, 4), b(format, 6, 4), gray(VANTOR_GRAY8, 6, 4);
        a.fill();
        for (int component = 0; component < 3; ++component) {
            const int width = component > 0 ? 3 : 6;
            for (int i = 0; i < width * (component > 0 ? 2 : 4); ++i)
                b.at(component, i % width, i / width) = a.at(component, i % width, i / width);
        }
        a.at(1, 2, 0) = 10;
        b.at(1, 2, 0) = 13;
        a.at(1, 0, 1) = 255;
        b.at(1, 0, 1) = 0;
        vantor_difference d[3];
        ASSERT_EQ(vantor_compare(&a.view, &b.view, d), VANTOR_OK);
        for (const int i : {0, 2}) EXPECT_TRUE(d[i].differing == 0 && d[i].largest == 0 && std::isinf(d[i].psnr));
        EXPECT_EQ(d[0].histogram[0], 24u);
        EXPECT_EQ(d[1].samples, 6u);
        EXPECT_EQ(d[1].differing, 2u);
        EXPECT_EQ(d[1].largest, 255);
        EXPECT_EQ(std::pair(d[1].first_x, d[1].first_y), std::pair(2, 0));
        EXPECT_EQ(std::pair(d[1].first_a, d[1].first_b), std::pair(10, 13));
        EXPECT_EQ(d[1].squares, 9 + 65025);
        EXPECT_NEAR(d[1].psnr, 7.78091, 1e-5);  // 10 log10 (6 65025 / 65034)
        EXPECT_EQ(d[1].histogram[3], 1u);
        EXPECT_EQ(vantor_compare(&a.view, &gray.view, d), VANTOR_INVALID);
    }
}

TEST(CLooks, StepsLeadToTheEnginesSamples) {
    const vantor_transform turn{20, 1, 0, 0, 0, 0, {-0.1}, 0, 0, 0};
    for (const int format : kFormats) {
        const int width = format == VANTOR_GRAY8 ? 37 : 98, height = format == VANTOR_GRAY8 ? 25 : 66;
        Picture src(format, width, height), dst(format, width, height);
        src.fill();
        vantor_grid grid;
        vantor_grid_from_transform(&grid, &turn, width, height);
        ASSERT_EQ(vantor_warp(nullptr, &dst.view, &src.view, &grid), VANTOR_OK);
        for (int i = 0; i < width * height; i += 53) {
            const int x = i % width, y = i / width;
            char json[2048];
            size_t needed = 0;
            ASSERT_EQ(vantor_explain(&src.view, &grid, x, y, json, sizeof json, &needed), VANTOR_OK);
            ASSERT_EQ(needed, std::strlen(json) + 1);
            std::vector<int> values;  // of luma, U and V
            for (const char* at = json; (at = std::strstr(at, "\"value\":")); ++at) values.push_back(std::atoi(at + 8));
            const bool hasChroma = format != VANTOR_GRAY8;
            std::string library = "\"library\":[" + std::to_string(dst.at(0, x, y));
            for (int c = 1; hasChroma && c < 3; ++c) library += "," + std::to_string(dst.at(c, x / 2, y / 2));
            EXPECT_NE(std::strstr(json, (library + "]").c_str()), nullptr) << json << " " << library;
            ASSERT_EQ(values.size(), hasChroma && x % 2 == 0 && y % 2 == 0 ? 3u : 1u);
            for (size_t c = 0; c < values.size(); ++c)
                EXPECT_EQ(values[c], dst.at(static_cast<int>(c), x >> (c > 0), y >> (c > 0))) << format << json;
        }
    }
}

TEST(CLooks, SelftestFindsThePublishedBytes) {
    vantor_engine* const engine = vantor_engine_new(3);
    for (vantor_engine* const by : {static_cast<vantor_engine*>(nullptr), engine}) {
        int32_t all = 0;
        EXPECT_EQ(vantor_selftest(by, &all), all);
        EXPECT_GT(all, 30);
    }
    vantor_engine_free(engine);
}

TEST(CGrids, FailuresAreTold) {
    vantor_grid grid{};
    Picture picture(VANTOR_NV12, 4, 4), gray(VANTOR_GRAY8, 2, 3);
    Bytes rgb(36);
    const vantor_rgb narrow{2, 3, rgb.data(), 9}, inside{4, 3, picture.bytes[0].data(), 12};
    const int16_t matrix[6] = {};
    const auto transform = [&](double zoom, double shear) {
        const vantor_transform parts{0, zoom, shear, 0.5, 0, 0, {}, 0, 0, 0};
        return vantor_grid_from_transform(&grid, &parts, 96, 64);
    };
    const auto calibration = [&](double fx, int count, int isFisheye, double alpha) {
        const vantor_calibration numbers{{fx, 0, 48, 0, 80, 32, 0, 0, 1}, {}, count, isFisheye, 96, 64, 1, alpha};
        return vantor_grid_from_calibration(&grid, &numbers, 96, 64, nullptr);
    };
    const auto rectified = [&](double r, double p) {
        const vantor_calibration numbers{{80, 0, 48, 0, 80, 32, 0, 0, 1}, {}, 5, 0, 96, 64, 0, 0};
        const double rotation[] = {r, 0, 0, 0, 1, 0, 0, 0, r}, projection[] = {80, 0, 48, -9, 0, 80, 32, 0, 0, 0, 1, p};
        return vantor_grid_from_rectification(&grid, &numbers, rotation, projection, 96, 64, nullptr);
    };
    EXPECT_EQ(rectified(1, 0), VANTOR_OK);
    size_t needed;
    const std::pair<std::function<int()>, const char*> calls[] = {
        {[&] { return rectified(-1, 0); }, "the source of (0, 0) is ("},
        {[&] { return rectified(2, 0); }, "rotation is not orthonormal"},
        {[&] { return rectified(NAN, 0); }, "rotation[0] nan, expected a finite number"},
        {[&] { return rectified(1, 1); }, "projection does not end in 0 0 1 0"},
        {[&] { return vantor_grid_from_matrix(&grid, matrix, 8193, 64); }, "width 8193, expected 1 to 8192"},
        {[&] { return vantor_grid_from_matrix(nullptr, matrix, 96, 64); }, "grid is null"},
        {[&] { return vantor_grid_from_lens(&grid, nullptr, 96, 64); }, "lens is null"},
        {[&] { return transform(0, 0); }, "zoom 0, expected a number above 0"},
        {[&] { return transform(1, 2); }, "shear_x 2 and shear_y 0.5, expected a product other than 1"},
        {[&] { return transform(1e-11, 0); }, "the source of (0, 0) is (-4.8e+12, -8e+11)"},
        {[&] { return calibration(0, 5, 0, 0); }, "camera_matrix is not a camera matrix"},
        {[&] { return calibration(NAN, 5, 0, 0); }, "camera_matrix[0] nan, expected a finite number"},
        {[&] { return calibration(80, 5, 1, 0); }, "coefficients has 5 elements, expected 4 for a fisheye"},
        {[&] { return calibration(80, 15, 0, 0); }, "coefficient_count 15"},
        {[&] { return calibration(80, 5, 0, 1.5); }, "alpha 1.5, expected a number from 0 to 1"},
        {[&] { return vantor_grid_format(&grid, VANTOR_GRID_TEXT, "a\nb", nullptr, 0, &needed); }, "comment"},
        {[&] { return vantor_from_rgb(&picture.view, &narrow, 0); }, "dst: 4x4, expected 2x4 for that of src, 2x3"},
        {[&] { return vantor_from_rgb(&picture.view, &inside, 0); }, "dst: plane 0 of the picture overlaps the RGB"},
        {[&] { return vantor_to_rgb(&narrow, &gray.view, 4); }, "encoding 4, expected 0 to 3"},
        {[&] { return vantor_explain(&picture.view, &grid, 0, 4, nullptr, 0, &needed); }, "y 4, expected 0 to 3"}};
    for (const auto& [call, expected] : calls) {
        EXPECT_EQ(call(), VANTOR_INVALID) << expected;
        EXPECT_EQ(std::string(vantor_message(nullptr)).find(expected), 0u) << vantor_message(nullptr);
    }
}

TEST(CGrids, MissingMemoryIsAStatus) {
    const double lens[5] = {-0.2, 0.05, 0, 0, 0};
    const Map map(20, 10, [](int x, int y) { return Position(x, y); });
    vantor_grid grid{};
    Picture picture(VANTOR_NV12, 20, 10);
    size_t needed;
    std::vector<int32_t> positions(200);
    std::string text(20000, ' ');
    const std::function<int()> calls[] = {
        [&] { return vantor_grid_from_lens(&grid, lens, 20, 10); },
        [&] { return vantor_grid_positions(&grid, 20, 10, positions.data(), positions.data()); },
        [&] {
            return vantor_grid_error(&grid, map.x.data(), map.y.data(), 20, 10, nullptr, nullptr, nullptr, nullptr);
        },
        [&] { return vantor_grid_format(&grid, VANTOR_GRID_TEXT, "", text.data(), text.size(), &needed); },
        [&] { return vantor_explain(&picture.view, &grid, 3, 3, text.data(), text.size(), &needed); },
        [&] { return vantor_selftest(nullptr, nullptr) > 0 ? VANTOR_OK : VANTOR_NO_MEMORY; }};
    for (const auto& call : calls) {
        for (int left = 0, status = VANTOR_NO_MEMORY; status != VANTOR_OK; ++left) {
            allocationsLeft = left;
            status = call();
            const bool hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            ASSERT_EQ(status, hasFailed ? VANTOR_NO_MEMORY : VANTOR_OK) << left << " " << vantor_message(nullptr);
        }
    }
}

}  // namespace
