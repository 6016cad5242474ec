// The model against a literal pixel-by-pixel walk, its state included, and its helpers against worked-out numbers.

#include "gdc_model/device_warp.h"
#include "gdc_model/gdc_core.h"
#include "gdc_model/gdc_extent.h"
#include "gdc_model/gdc_planes.h"
#include "gdc_model/gdc_run.h"
#include "gdc_model/gdc_scales.h"
#include "gdc_model/gdc_state.h"
#include "gdc_model/sampling.h"
#include "tests/gdc_model/gdc_reference.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

using Samples = std::vector<uint16_t>;
using Bytes = std::vector<uint8_t>;

std::vector<int> nodes(Random& random, int kind) {
    std::vector<int> grid(1089);
    for (size_t k = 0; k < grid.size(); ++k) {
        const int row = static_cast<int>(k / 33), column = static_cast<int>(k % 33);
        const int choices[] = {0,
                               70000,
                               9000 * (row - 16) - 4000 * (column - 16),
                               random.between(-300000, 300000),
                               random.between(0, 1) ? INT32_MAX : INT32_MIN,
                               random.between(INT32_MIN / 2, INT32_MAX / 2),
                               400000 * (column - 16),  // near the limits of vector kernels
                               random.between(0, 1) ? 1500000 : -1500000};
        grid[k] = choices[kind];
    }
    return grid;
}

// clang-format off
#define SCALARS(of) \
    {of m_nWidth, of m_nHeight, of m_OrgWidth, of m_OrgHeight, of m_PxcStrideLum, of m_PxcStrideChroma, \
     of m_WrtStrideLum, of m_WrtStrideChroma, of m_nCropStartX, of m_nCropStartY, of m_bMirrorX, \
     of m_bMirrorY, of m_bCropBypass, of m_nScaleX, of m_nScaleY, of m_nScaleShifterX, of m_nScaleShifterY, \
     of m_nInvScaleX, of m_nInvScaleY, of m_OutScaleX, of m_OutScaleY, of m_nOutCropStartX, \
     of m_nOutCropStartY, of m_nOutCropWidth, of m_nOutCropHeight, of m_interpType, of m_clampType, \
     of m_YuvFormat, of m_Src10bitFormat, of m_Dst10bitFormat, of m_VirtCordX, of m_VirtCordY, \
     of m_VirtStepShiftX, of m_VirtStepShiftY, of m_LT_val, of m_RT_val, of m_LB_val, of m_RB_val, \
     of m_dltL, of m_dltT, of m_StepXShifter, of m_StepYShifter}
// clang-format on

void expectSameState(const reference::GdcState& state) {
    EXPECT_EQ(0, memcmp(m_curGrid_dX, state.m_curGrid_dX, sizeof m_curGrid_dX));
    EXPECT_EQ(0, memcmp(m_curGrid_dY, state.m_curGrid_dY, sizeof m_curGrid_dY));
    const std::vector<int> actual = SCALARS(), expected = SCALARS(state.);
    EXPECT_EQ(actual, expected);
}

TEST(GdcModel, EqualsAPixelByPixelWalkAndLeavesItsState) {
    Random random(seed());
    reference::GdcState state;  // carried from run to run, as the library's is
    m_VirtCordX = m_VirtCordY = m_VirtStepShiftX = m_VirtStepShiftY = m_LT_val = m_RT_val = m_LB_val = m_RB_val = 0;
    m_dltL = m_dltT = m_StepXShifter = m_StepYShifter = 0;
    for (int i = 0; i < 150 && !::testing::Test::HasFailure(); ++i) {
        const auto oneIn = [&](int n, int usual, int low, int high) {
            return random.between(1, n) == 1 ? random.between(low, high) : usual;
        };
        const int W = random.between(2, 60), H = random.between(2, 40);
        const GdcScales sx = gdcScalesX(W), sy = gdcScalesY(H);
        const int startX = oneIn(3, 0, -5, W), startY = oneIn(3, 0, -5, H);
        const int outW = oneIn(2, W, -1, 70), outH = oneIn(2, H, -1, 50);
        const int outScaleX = oneIn(3, 128, 0, 300), outScaleY = oneIn(3, 128, -20, 300);
        // A scale too large reaches the frame's very end, beyond the last cell.
        const int scaleX = oneIn(4, sx.scale, 0, 3 * sx.scale), scaleY = oneIn(4, sy.scale, 0, 3 * sy.scale);
        const std::vector<int> gridX = nodes(random, random.between(0, 7)), gridY = nodes(random, random.between(0, 7));
        GdcFrame frame{};
        GdcSettings& s = frame.settings;
        s = {oneIn(3, 3, 0, 4), oneIn(3, 2, -1, 4), oneIn(4, 1, 0, 2), oneIn(4, 0, 0, 1), 0};
        const int mirrorX = oneIn(4, 0, 0, 1), mirrorY = oneIn(4, 0, 0, 1);
        const int cropX = oneIn(4, 0, -9, 9), cropY = oneIn(4, 0, -9, 9);
        frame.x = {W, sx.shifter, scaleX, sx.invScale, outScaleX, startX, outW, cropX, mirrorX};
        frame.y = {H, sy.shifter, scaleY, sy.invScale, outScaleY, startY, outH, cropY, mirrorY};

        // 4:2:2 pictures reach further than 4:2:0 ones.
        const auto samples = [](int w, int h) { return static_cast<size_t>(3 * std::max(w, 0) * std::max(h, 0) + 2); };
        Samples src(samples(W, H)), expected(samples(outW, outH), 0xA5A5), actual = expected;
        const Bytes content = random.content(src.size());
        const int deep = s.src10bit && random.between(0, 1) ? 4 : 1;
        std::transform(content.begin(), content.end(), src.begin(), [=](int c) { return uint16_t(c * deep); });
        const reference::GdcOptions options{s.interpType, s.clampType, s.yuvFormat, s.src10bit, 0,
                                            mirrorX,      mirrorY,     cropX,       cropY};
        reference::gdcCore(state, options, expected.data(), src.data(), gridX.data(), gridY.data(), W, H, -1, -1,
                           sx.shifter, sy.shifter, scaleX, scaleY, sx.invScale, sy.invScale, outScaleX, outScaleY,
                           startX, startY, outW, outH);
        runGdc(frame, actual.data(), src.data(), gridX.data(), gridY.data());
        EXPECT_TRUE(actual == expected) << "seed " << seed() << " case " << i << ": " << W << "x" << H << " to " << outW
                                        << "x" << outH << " type " << s.interpType << " yuv " << s.yuvFormat;
        expectSameState(state);
    }
}

TEST(GdcModel, ScalesHaveAsManyFractionBitsAsFitIn16Bits) {
    const auto check = [](const GdcScales& scales, int64_t frame, int size) {
        const auto scale = [&](int shifter) { return ((frame << (shifter + 8)) + size / 2) / size; };
        int shifter = 7;
        while (shifter > 0 && scale(shifter) > 65535) --shifter;
        EXPECT_EQ(scales.shifter, shifter) << size << " of " << frame;
        EXPECT_EQ(scales.scale, scale(shifter)) << size << " of " << frame;
    };
    for (int size = 1; size <= 8192; ++size) {
        check(gdcScalesX(size), 8192, size);
        check(gdcScalesY(size), 6144, size);
    }
}

TEST(GdcModel, PictureWarpsEqualAWalkOverPlanesWhereverTheOutputStands) {
    Random random(seed());
    reference::GdcState state;
    m_VirtCordX = m_VirtCordY = m_VirtStepShiftX = m_VirtStepShiftY = m_LT_val = m_RT_val = m_LB_val = m_RB_val = 0;
    m_dltL = m_dltT = m_StepXShifter = m_StepYShifter = 0;
    for (int i = 0; i < 150 && !::testing::Test::HasFailure(); ++i) {
        const bool isWide = i % 5 == 0;  // several runs of columns
        const int W = 2 * (isWide ? random.between(130, 250) : random.between(1, 60)),
                  H = 2 * random.between(1, isWide ? 40 : 70);
        const auto luma = static_cast<size_t>(W * H);
        const bool isWhole = random.between(0, 2) > 0, isGray = random.between(0, 3) == 0;
        const OutputRegion region =
            isWhole ? OutputRegion(0, 0, W - 1, H - 1)
                    : OutputRegion(random.between(-9, 9), random.between(-9, 9),
                                   random.between(isWide ? W - 20 : -10, W + 9), random.between(-10, H + 9));
        const int outW = static_cast<int>(region.width), outH = static_cast<int>(region.height);
        const std::vector<int> gridX = nodes(random, random.between(0, 7)), gridY = nodes(random, random.between(0, 7));
        Bytes picture = random.content(luma * 3 / 2);
        Samples src(picture.begin(), picture.end()), dst(luma * 6 + 4 * gdcPictureSamples(outW, outH));
        for (size_t k = luma; k < src.size(); ++k) {
            src[luma + (k - luma) / 2 + (k % 2 ? luma / 4 : 0)] = isGray ? 0 : picture[k];
        }
        const GdcScales sx = gdcScalesX(W), sy = gdcScalesY(H);
        reference::gdcCore(state, {}, dst.data(), src.data(), gridX.data(), gridY.data(), W, H, 0, 0, sx.shifter,
                           sy.shifter, std::min(sx.scale, 65535), std::min(sy.scale, 65535), sx.invScale, sy.invScale,
                           128, 128, region.left, region.top, outW, outH);
        // Apart from the source, in its place, or shifted over its end or start.
        const size_t shifts[] = {2 * luma, 0, luma / 2, luma};
        const size_t from = random.between(0, 1) ? luma / 2 : 0, to = shifts[random.between(0, 3)];
        const size_t bytes = isGray ? luma : luma * 3 / 2;
        GuardedPlane memory(Bytes(std::max(from, to) + bytes, 3), i % 2 ? Guard::Back : Guard::Front);
        uint8_t* const at = memory.data();
        std::copy_n(picture.begin(), bytes, at + from);
        Bytes expected(bytes);
        for (size_t k = 0; k < bytes; ++k) {
            const size_t planar = k < luma ? k : luma + (k - luma) / 2 + (k % 2 ? luma / 4 : 0);
            expected[k] = static_cast<uint8_t>(dst[planar]);
        }
        warpOnDevice(W, H, region, {at + from, isGray ? nullptr : at + from + luma},
                     {at + to, isGray ? nullptr : at + to + luma}, gridX.data(), gridY.data());
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), at + to))
            << "seed " << seed() << " case " << i << ": " << W << "x" << H << " to " << outW << "x" << outH;
        expectSameState(state);
    }
}

TEST(GdcModel, CoreFixesItsSettingsAndStaysBetweenGuardPages) {
    std::vector<int> zero(1089);
    m_bMirrorX = m_clampType = m_YuvFormat = 7;
    for (const int W : {96, 97, 1}) {
        for (const int H : {64, 65, 1}) {
            for (Guard guard : {Guard::Front, Guard::Back}) {
                GuardedPlane src(2 * gdcPictureSamples(W, H), guard), dst(2 * gdcPictureSamples(W, H), guard);
                auto* const from = reinterpret_cast<uint16_t*>(src.data());
                auto* const to = reinterpret_cast<uint16_t*>(dst.data());
                for (int i = 0; i < W * H; ++i) from[i] = static_cast<uint8_t>(7 * i);
                const GdcScales x = gdcScalesX(W), y = gdcScalesY(H);
                GdcCore(to, from, zero.data(), zero.data(), W, H, 0, 0, x.shifter, y.shifter, x.scale, y.scale,
                        x.invScale, y.invScale, 128, 128, 0, 0, W, H);
                EXPECT_TRUE(std::equal(from, from + W * H, to)) << W << "x" << H;
            }
        }
    }
    EXPECT_EQ(m_bMirrorX + 10 * m_clampType + 100 * m_YuvFormat + 1000 * m_interpType, 3120);
}

TEST(GdcModel, TapWeightsAreTheCubicKernel) {
    const auto kernel = [](double x) {
        return x <= 1 ? 1.5 * x * x * x - 2.5 * x * x + 1 : -0.5 * x * x * x + 2.5 * x * x - 4 * x + 2;
    };
    for (int p = 0; p < 256; ++p) {
        const double f = p / 256.0;
        const double distances[] = {1 + f, f, 1 - f, 2 - f};
        for (size_t tap = 0; tap < 4; ++tap) {
            EXPECT_EQ(kTapWeights[static_cast<size_t>(p)][tap], std::lround(256 * kernel(distances[tap])));
        }
    }
    using Row = std::array<int32_t, 4>;
    EXPECT_EQ(kTapWeights[64], (Row{-18, 222, 58, -6}));
    EXPECT_EQ(kTapWeights[255], (Row{0, 1, 256, 0}));
}

TEST(GdcModel, RoundsHalvesUpAndNeverOverflows) {
    const int64_t cases[][3] = {
        {5, 1, 3},         {-5, 1, -2},    {-3, 1, -1},     {7, 0, 7},           {4096, 13, 1},
        {4095, 13, 0},     {-4096, 13, 0}, {-4097, 13, -1}, {INT64_MIN, 63, -1}, {INT64_MIN, 1, INT64_MIN / 2},
        {INT64_MAX, 64, 0}};
    for (const auto& c : cases) EXPECT_EQ(hwround64_(c[0], static_cast<int>(c[1])), c[2]) << c[0] << " >> " << c[1];
}

TEST(GdcModel, DithersByParityAndClampsOnBothSides) {
    // 4 x 2 luma samples (packed: of width 9), then two U and two V.
    const Samples source = {1022, 1022, 0, 5, 1, 1022, 7, 0, 1021, 3, 0, 9};
    const DitherParams params{9, 2, 1, 4, 2, 0, 1};
    Samples samples = source;
    Dither(samples.data(), &params);
    EXPECT_EQ(samples, (Samples{1023, 1022, 3, 5, 2, 1023, 8, 2, 1023, 3, 3, 9}));
    InvDither(samples.data(), &params);
    EXPECT_EQ(samples, (Samples{1020, 1022, 0, 5, 1, 1021, 7, 0, 1020, 3, 0, 9}));
    const DitherParams thin{1, 3, 0, 0, 0, 0, 0};  // no chroma, 4:2:2 or not
    Samples column = {0, 0, 0, 0, 0};
    Dither(column.data(), &thin);
    EXPECT_EQ(column, (Samples{3, 1, 3, 0, 0}));
    const DitherParams wide{2, 1, 0, 0, 0, 0, 0};  // 4:2:2: U at 2, V at 3
    Dither(column.data(), &wide);
    EXPECT_EQ(column, (Samples{6, 1, 6, 3, 0}));
}

TEST(GdcModel, PlaneConversionsRoundTripAtAnySize) {
    for (int W : {0, 1, 2, 4, 5, 33, 64, 131}) {
        for (int H : {0, 1, 2, 3, 7}) {
            const auto bytes = static_cast<size_t>(W * H + H / 2 * W);
            Random random(seed());
            GuardedPlane src(random.content(bytes), Guard::Back), planes(bytes, Guard::Back), back(bytes, Guard::Back);
            YUV2PlaneTo3Plane(src.data(), planes.data(), W, H);
            YUV3PlaneTo2Plane(planes.data(), back.data(), W, H);
            // With an odd width the V plane lies over the end of U, so U is not all there.
            EXPECT_TRUE(W % 2 || back.bytes() == src.bytes()) << W << "x" << H;
        }
    }
    uint8_t wide[15] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5}, planes[15] = {};
    YUV2PlaneTo3Plane(wide, planes, 5, 2);
    EXPECT_EQ(Bytes(planes + 10, planes + 15), (Bytes{1, 3, 2, 4, 0}));
    uint8_t even[12] = {0, 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4};
    YUV2PlaneTo3Plane(even, planes, 4, 2);
    EXPECT_EQ(Bytes(planes + 8, planes + 12), (Bytes{1, 3, 2, 4}));
}

TEST(GdcModel, RunnerWarpsAtTheStepAndPlaceItIsGiven) {
    // The output begins at column 40 and row 8 of a picture at half the step across; odd sizes stay in their planes.
    Bytes content(65 * 33 * 3 / 2, 128);
    for (size_t i = 0; i < 65 * 33; ++i) content[i] = i % 65 < 32 ? 50 : 255;
    GuardedPlane src(content, Guard::Back), dst(33 * 17 * 3 / 2, Guard::Back);
    short shifted[6] = {4096, 0, 32 * 200, 0, 4096, 0};  // 200 pixels from further right, or the last column
    GDCRunnerCModel(shifted, src.data(), dst.data(), 65, 33, 130, 33, 40, 8, 33, 17, 1);
    EXPECT_EQ(m_OutScaleX * 1000 + m_OutScaleY, 64 * 1000 + 128);
    EXPECT_EQ(m_nOutCropStartX * 1000 + m_nOutCropStartY, 40 * 1000 + 8);
    EXPECT_GT(m_curGrid_dX[0][0], 0);
    const int clamped = m_curGrid_dX[0][32];
    GDCRunnerCModel(shifted, src.data(), dst.data(), 65, 33, 0, 33, 0, 0, 33, 17, 0);
    EXPECT_EQ(m_OutScaleX, 0);
    EXPECT_GT(m_curGrid_dX[0][32], clamped);
    short identity[6] = {4096, 0, 0, 0, 4096, 0};
    GDCRunnerCModel(identity, src.data(), dst.data(), 65, 33, 65, 33, 30, 8, 33, 17, 0);
    EXPECT_EQ(dst.data()[5 * 33], 50);
    EXPECT_EQ(dst.data()[5 * 33 + 20], 255);
    EXPECT_EQ(dst.data()[17 * 33 + 9], 128);
}

}  // namespace
}  // namespace vantor::test
