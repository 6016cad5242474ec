// The tool's warps against what the model makes of their grids.
#include "geometry/warp_map.h"

#include "geometry/grid_report.h"
#include "tests/support.h"

namespace vantor {
namespace {

double largestError(const WarpParts& parts, Size size) {
    const WarpMap map(parts, size);
    return measureError(makeGrid(map, size), map, size, size).largest;
}

TEST(WarpMap, TheModelFollowsRotationsAndLensesToAFractionOfAPixel) {
    WarpParts rotation, lens, all;
    rotation.rotate = 2;
    lens.lens = {-0.15, 0.02, 0, 0, 0};
    all = {-30, 1.2, {0.1, -0.05}, {12.5, -7.25}, {0.02, 0, 0, 0.001, -0.002}, Point{100, 50}};
    for (Size size : {Size{1920, 1080}, Size{112, 66}, Size{416, 3072}}) {
        EXPECT_LT(largestError(rotation, size), 0.05);
        EXPECT_LT(largestError(lens, size), 0.1);
        EXPECT_LT(largestError(all, size), 0.1);
    }
}

TEST(WarpMap, PartsLeadFromTheOutputToTheSource) {
    const Size size{200, 100};
    const auto expectSource = [&](const WarpParts& parts, Point output, Point source) {
        const Point actual = WarpMap(parts, size)(output);
        EXPECT_NEAR(actual.x, source.x, 1e-9);
        EXPECT_NEAR(actual.y, source.y, 1e-9);
    };
    WarpParts turn, half, zoom, shear, shift, lens;
    turn.rotate = 90;  // counter-clockwise: what was on the right is on top
    expectSource(turn, {100, 10}, {140, 50});
    zoom.zoom = 2;
    expectSource(zoom, {120, 50}, {110, 50});
    shear.shear = {0.5, 0};
    expectSource(shear, {110, 70}, {100, 70});
    shift.shift = {3, -4};
    expectSource(shift, {100, 50}, {97, 54});
    lens.lens = {0.5, 0, 0, 0, 0};  // the corner, at radius 1, comes from half as far again
    expectSource(lens, {200, 100}, {250, 125});
    lens.lens = {0, 0, 0.25, 0.1, 0};  // r = 1 there: 1.25 x, and 2 p1 x y, p1 (1 + 2 y^2) with x = 2 y
    expectSource(lens, {200, 100}, {233.94427190999916, 128.1524758424985});
    lens.lens = {0, 0, 0, 0, 0.1};
    expectSource(lens, {200, 100}, {229.06888370749727, 108.94427190999916});
    shear.shear = {0, 0.5};
    expectSource(shear, {110, 70}, {110, 65});
    turn.shift = {10, 0};  // after the turn on the way to the source
    expectSource(turn, {100, 10}, {130, 50});
    half.rotate = 180;
    EXPECT_NEAR(WarpMap(half, {101, 77})({1, 2}).x, 100, 1e-9);  // about the middle of an odd picture
    EXPECT_NEAR(WarpMap(half, {101, 77})({1, 2}).y, 75, 1e-9);
}

TEST(WarpMap, WholePixelShiftsGiveThePictureBack) {
    const Size size{160, 96};
    test::Random random(test::seed());
    std::vector<uint8_t> src = random.content(160 * 96 * 3 / 2), dst;
    const auto from = test::wholePicture(src, size.width, size.height),
               to = test::wholePicture(dst, size.width, size.height);
    for (const Point shift : {Point{6, -4}, Point{-10, 2}, Point{0, 0}}) {
        WarpParts parts;
        parts.shift = shift;
        const Grid nodes = makeGrid(WarpMap(parts, size), size);
        hardware::vantorClient::_GDCGrid grid;
        static_assert(sizeof grid == sizeof nodes);
        std::memcpy(&grid, &nodes, sizeof grid);
        ASSERT_EQ(
            0, hardware::vantorClient::runGDCGrid(to, from, grid, hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL));
        for (int y = 0; y < size.height * 3 / 2; ++y) {
            const bool isLuma = y < size.height;
            const int fromY = y - static_cast<int>(isLuma ? shift.y : shift.y / 2);
            for (int x = 0; x < size.width; ++x) {
                const int fromX = x - static_cast<int>(shift.x);
                const bool inside = fromX >= 0 && fromX < size.width && fromY >= (isLuma ? 0 : size.height) &&
                                    fromY < (isLuma ? size.height : size.height * 3 / 2);
                const int expected = inside ? src[static_cast<size_t>(fromY * size.width + fromX)] : isLuma ? 0 : 128;
                ASSERT_EQ(dst[static_cast<size_t>(y * size.width + x)], expected) << x << " " << y;
            }
        }
    }
}

TEST(GridReport, CountsWhatIsWrongWithAGrid) {
    Grid grid{};
    const Size size{320, 192};
    EXPECT_EQ(examine(grid, size).foldedCells, 0);
    EXPECT_EQ(examine(grid, size).outside, 0);
    WarpParts parts;
    parts.shift = {-80, 0};  // a quarter of the picture comes from beyond its right edge
    const GridReport shifted = examine(makeGrid(WarpMap(parts, size), size), size);
    EXPECT_DOUBLE_EQ(shifted.outside, 0.25);
    EXPECT_DOUBLE_EQ(shifted.minDisplacement.x, 80);
    EXPECT_DOUBLE_EQ(shifted.maxDisplacement.y, 0);
    grid.dX[33 * 5 + 7] = 256 * 16384 / 32 * 2;  // a node two cells to the right: two of its four cells fold
    EXPECT_EQ(examine(grid, size).foldedCells, 2);
    grid.dX[33 * 5 + 7] = 256 * 16384 / 32;  // on its right neighbour: the cells between them are triangles
    EXPECT_EQ(examine(grid, size).foldedCells, 2);
    grid.dY[0] = 9000000;
    EXPECT_EQ(examine(grid, size).nodesBeyondRange, 1);
}

TEST(GridReport, CountsPixelsThatAreOffByMoreThanHalf) {
    const Size size{320, 192};
    const auto offBy = [](Point output) {  // 0.5 in a column more than the 8 where it is larger
        return Point{output.x + (output.x < 8 ? 0.75 : output.x < 9 ? 0.5 : 0.25), output.y};
    };
    const GridError error = measureError(Grid{}, offBy, size, size);
    EXPECT_EQ(error.pixels, size.pixels());
    EXPECT_EQ(error.beyondHalf, 8u * 192);
    EXPECT_DOUBLE_EQ(error.largest, 0.75);
    EXPECT_NEAR(error.rms, std::sqrt((8 * 0.5625 + 0.25 + 311 * 0.0625) / 320), 1e-12);
    EXPECT_EQ(error.largestX, 0);
}

}  // namespace
}  // namespace vantor
