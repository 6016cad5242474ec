// Every table of warp kernels against the plain one.

#include "gdc_model/warp_kernels.h"

#include "gdc_model/gdc_frame.h"
#include "gdc_model/grid_interp.h"
#include "gdc_model/sampling.h"
#include "gdc_model/warp_positions.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

using Bytes = std::vector<uint8_t>;
using Positions = std::vector<int32_t>;

/// Calls `check(table)` for each table but the plain one that this CPU can run.
template <typename Check>
void forEachTable(Check&& check) {
    for (const WarpKernels* table : kWarpTables) {
        if (table == &kWarpPlain || !cpuHas(table->set)) continue;
        SCOPED_TRACE(instructionSetName(table->set));
        EXPECT_NE(table->nodes, kWarpPlain.nodes);
        EXPECT_NE(table->positions, kWarpPlain.positions);
        EXPECT_NE(table->luma, kWarpPlain.luma);
        EXPECT_NE(table->chroma, kWarpPlain.chroma);
        check(*table);
    }
}

TEST(WarpKernels, EveryTableHasItsTurn) { reportTables("warp", kWarpTables); }

TEST(WarpKernels, PositionsAreThePlainOnesUpToTheLimitsOfVectors) {
    Random random(seed());
    for (int i = 0; i < 2000; ++i) {
        const int count = random.between(1, 70), isNarrow = i % 2,
                  largest = i % 3 == 0 ? (isNarrow ? 2047 : 1048575) : 1 << random.between(4, isNarrow ? 10 : 20);
        Positions expected[2], actual[2];
        std::vector<int16_t> within(128, 512), bulge(128, 128);
        for (size_t k = 0; k < within.size(); ++k) {
            within[k] = int16_t(random.between(0, 3) ? random.between(0, 512) : 512);
            bulge[k] = int16_t((256 + within[k] * (512 - within[k])) >> 9);
        }
        const auto line = [&] {
            const auto either = [&](int size) { return random.between(0, 1) ? random.between(-size, size) : size; };
            return WarpLine{either(4194300 - (isNarrow ? 10 * largest : largest + largest / 2)),
                            either(isNarrow ? 8 * largest : largest),
                            either((isNarrow ? 12 : 2) * largest),
                            either(4 * largest),
                            either(32767) & 32767,
                            0,
                            random.between(INT32_MIN / 2, INT32_MAX / 2),
                            either(100000)};
        };
        WarpRun run{within.data(), bulge.data(), count, isNarrow != 0, line(), line()};
        for (auto& out : expected) out.resize(128);
        kWarpPlain.positions(run, expected[0].data(), expected[1].data());
        forEachTable([&](const WarpKernels& kernels) {
            for (int axis = 0; axis < 2; ++axis) actual[axis] = expected[axis], actual[axis].assign(128, 7);
            kernels.positions(run, actual[0].data(), actual[1].data());
            for (int axis = 0; axis < 2; ++axis) {
                actual[axis].resize(static_cast<size_t>(count)), expected[axis].resize(static_cast<size_t>(count));
                ASSERT_EQ(actual[axis], expected[axis]) << "seed " << seed() << " case " << i;
            }
        });
    }
}

TEST(WarpKernels, RowsOfAnyGridFindKernelsThatCanTakeThem) {
    Random random(seed());
    int fitting = 0;
    for (int i = 0; i < 400; ++i) {
        const int width = i % 2 ? 8192 : random.between(100, 3000),
                  slope = random.between(0, i % 8 < 4 ? 600000 : 2000);
        const int noise = i % 3 ? random.between(0, 1000) : 1 << random.between(0, 29);
        const int zigzag = i % 5 ? 0 : random.between(2040, 2056);  // about the largest excess of narrow curves
        const bool isMirrored = i % 9 == 0;                         // from the last cell to the first
        GdcFrame frame = requestFrame(width, 128, {isMirrored ? 1 - width : 0, 0, isMirrored ? 0 : width - 1, 127});
        if (isMirrored) frame.x.outScale = -frame.x.outScale;
        Grid grid;
        for (int k = 0; k < 33 * 33; ++k) {
            const int sign = k % 33 % 2 * 2 - 1;
            grid.dX[k] = zigzag ? zigzag * sign : slope * (k % 33 - 16) + random.between(-noise, noise);
            grid.dY[k] = zigzag ? -zigzag * sign : slope * (k / 33 - 16) + random.between(-noise, noise);
        }
        std::vector<int32_t> memory(WarpPositions::workingWords(frame));
        const WarpPositions positions(frame, memory.data());
        const GridTables tables(grid);
        const int row = random.between(0, 127), first = i % 7 ? 0 : random.between(1, 90);
        Positions expected[2], actual[2];
        const auto compute = [&](const WarpKernels& kernels, Positions(&out)[2]) {
            for (auto& axis : out) axis.assign(static_cast<size_t>(width + 2 * kWarpLanes), 0);
            const GridRows rows = positions.row(kernels, tables, row);
            fitting += rows.fitsVectors;
            positions.compute(kernels, rows, 5, first, width - first, out[0].data(), out[1].data());
            for (auto& axis : out) axis.resize(static_cast<size_t>(width - first));
        };
        compute(kWarpPlain, expected);
        forEachTable([&](const WarpKernels& kernels) {
            compute(kernels, actual);
            ASSERT_TRUE(actual[0] == expected[0] && actual[1] == expected[1]) << "seed " << seed() << " case " << i;
        });
    }
    EXPECT_GT(fitting, 100);
}

TEST(WarpKernels, NoDisplacementOfARowExceedsItsBound) {
    Random random(seed());
    int bounded = 0;
    for (int i = 0; i < 200; ++i) {
        const int size = 1 << random.between(2, 21);
        GdcGrid grid{};
        for (auto& row : grid) std::generate(row, std::end(row), [&] { return random.between(0, 2) ? size : -size; });
        const GridRow row(grid, {0, random.between(1, 32), random.between(0, 384)});
        const int32_t bound = displacementBound(row.bounds());
        bounded += bound != INT32_MAX;
        for (int u = 0; u < 512 * 32; ++u) {
            ASSERT_LE(std::abs(row.displacement({u, u / 512 + 1, u % 512})), bound) << "seed " << seed() << " at " << u;
        }
    }
    EXPECT_GT(bounded, 100);
}

/// Compares both stages of all tables at these positions, the output off alignment and against an unmapped page.
void compare(const WarpSource& src, const Positions& x, const Positions& y, int count) {
    const auto run = [&](const WarpKernels& kernels, Bytes& out) {
        GuardedPlane luma(static_cast<size_t>(count), Guard::Back);
        GuardedPlane pairs(static_cast<size_t>(count + 1) / 2 * 2, Guard::Back);
        const uint32_t incomplete = kernels.luma(src, x.data(), y.data(), count, luma.data());
        kernels.chroma(src, x.data(), y.data(), (count + 1) / 2, pairs.data());
        out = luma.bytes();
        for (uint8_t byte : pairs.bytes()) out.push_back(byte);
        return incomplete;
    };
    Bytes expected, actual;
    const uint32_t incomplete = run(kWarpPlain, expected);
    for (const WarpKernels* table : kWarpTables) {
        if (!cpuHas(table->set)) continue;
        EXPECT_EQ(incomplete & ~run(*table, actual), 0U);
        ASSERT_TRUE(actual == expected) << instructionSetName(table->set) << " seed " << seed() << " " << src.width
                                        << "x" << src.height << " " << count << " columns";
    }
}

TEST(WarpKernels, SamplesAreThePlainOnesAtAnyPositionsOfGuardedRows) {
    Random random(seed());
    std::unique_ptr<GuardedRows> planes[3];
    for (int i = 0; i < 3000 && !::testing::Test::HasFailure(); ++i) {
        const int width = 2 * random.between(16, 60), height = 2 * random.between(16, 30);
        const int count = random.between(1, i % 8 ? 256 : kWarpRunColumns), path = random.between(0, 3);
        if (i % 500 == 0) {
            for (auto& plane : planes)
                plane =
                    std::make_unique<GuardedRows>(60, random.between(2, 20), i / 500 % 2 ? Guard::Front : Guard::Back);
        }
        const auto fill = [&](int plane, int rows, int rowBytes) {
            const auto size = static_cast<size_t>(rowBytes);
            return planes[plane]->fill(random.content(size * static_cast<size_t>(rows)), size);
        };
        const int step = 1 + i % 2;
        const uint8_t *y = fill(0, height, width), *u = fill(1, height / 2, width / 2 * step);
        const bool isPaired = step == 2;
        const WarpSource src{y,
                             u,
                             isPaired ? u + 1 : fill(2, height / 2, width / 2),
                             planes[0]->stride(),
                             planes[1]->stride(),
                             planes[isPaired ? 1 : 2]->stride(),
                             step,
                             width,
                             height};
        Positions atX(kWarpRunColumns + 2 * kWarpLanes, INT32_MIN), atY(atX.size(), INT32_MAX);
        // Along a line at any angle, mostly inside; anywhere near the picture; or anywhere at all.
        const int stepX = random.between(-600, 600), stepY = random.between(0, 2) ? random.between(-9, 9) : stepX;
        const int fromX = random.between(0, width * 256), fromY = random.between(0, height * 256);
        for (int k = 0; k < count; ++k) {
            const auto at = static_cast<size_t>(k);
            atX[at] = path < 2 ? fromX + k * stepX : random.between(-1024, width * 256 + 1024);
            atY[at] = path < 2 ? fromY + k * stepY : random.between(-1024, height * 256 + 1024);
            if (path == 3 && k % 7 == 0) atX[at] = random.between(INT32_MIN / 2, INT32_MAX / 2);
            if (path == 3 && k % 5 == 0) atY[at] = k % 2 ? INT32_MIN : INT32_MAX;
        }
        compare(src, atX, atY, count);
    }
}

TEST(WarpKernels, WeightsAreRoundedAlikeAtAllPairsOfPhases) {
    for (int product = -65536; product <= 65536; ++product) {
        ASSERT_EQ(roundedWeight(product), static_cast<int>(std::round(product / 256.0)));
    }
    // Samples at their extremes show every weight that is off by one, next to others that do not.
    Random random(seed());
    for (int i = 0; i < 24; ++i) {
        Bytes luma(32 * 32), chroma(32 * 16);
        const WarpSource src{luma.data(), chroma.data(), &chroma[1], 32, 32, 32, 2, 32, 32};
        for (uint8_t& sample : luma) sample = random.between(0, 3) ? uint8_t(255 * random.between(0, 1)) : 128;
        for (uint8_t& sample : chroma) sample = uint8_t(255 * random.between(0, 1));
        for (int fractionY = 0; fractionY < 256; ++fractionY) {
            Positions x(256 + 2 * kWarpLanes), y(x.size(), 4 * 256 - 128 + fractionY);
            for (int k = 0; k < 256; ++k) x[static_cast<size_t>(k)] = 3 * 256 - 128 + k;
            compare(src, x, y, 256);
            for (int32_t& position : x) position += 257;  // odd phases of chroma, the other parity
            compare(src, x, y, 256);
        }
    }
}

}  // namespace
}  // namespace vantor::test
