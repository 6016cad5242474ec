// The drivers, band kernels and vector kernels against a literal pixel-by-pixel walk, between guard pages.

#include "scaler/bicubic_luma.h"
#include "scaler/bilinear_chroma.h"
#include "scaler/interp4.h"
#include "scaler/interp4_chroma.h"
#include "scaler/interp4_filter.h"
#include "scaler/interp4_luma.h"
#include "scaler/interpolate.h"
#include "tests/scaler/reference.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

#if defined(__arm__) || defined(__aarch64__) || defined(__SANITIZE_THREAD__)
constexpr int kRounds = 60;  // emulated, or slow
#else
constexpr int kRounds = 600;
#endif
constexpr uint8_t kCanary = 0xA5;
constexpr Guard kGuards[] = {Guard::Front, Guard::Back};

using Kernel = int(unsigned char*, unsigned char*, int, int, int, int, int, int);

/// A region of one plane. The plane ends with the last byte of the region's last row.
struct Geometry {
    int width;  ///< bytes
    int height;
    int stride;

    size_t bytes() const {
        return height <= 0 || width <= 0
                   ? 0
                   : static_cast<size_t>(height - 1) * static_cast<size_t>(stride) + static_cast<size_t>(width);
    }
};

/// Runs `product` and `reference` on the same source and on destinations full of canaries, and compares all
/// bytes, the gaps between rows included. `margin` bytes before the source may be read.
void expectSame(Random& random, Geometry src, Geometry dst, size_t margin,
                const std::function<void(uint8_t* src, uint8_t* dst)>& product,
                const std::function<void(const uint8_t* src, uint8_t* dst)>& reference) {
    const std::vector<uint8_t> content = random.content(margin + src.bytes());
    std::vector<uint8_t> expected(dst.bytes(), kCanary);
    reference(content.data() + margin, expected.data());
    for (Guard guard : kGuards) {
        GuardedPlane source(content, guard);
        GuardedPlane destination(std::vector<uint8_t>(dst.bytes(), kCanary), guard);
        product(source.data() + margin, destination.data());
        EXPECT_EQ(source.bytes(), content);
        ASSERT_TRUE(destination.bytes() == expected)
            << "seed " << seed() << ": " << src.width << "x" << src.height << " (" << src.stride << ") to " << dst.width
            << "x" << dst.height << " (" << dst.stride << "), guard " << (guard == Guard::Front ? "front" : "back");
    }
}

/// Sizes that reach every column class, odd ratios, empty bands, and now and then more than one strip.
int randomSide(Random& random) {
    switch (random.between(0, 9)) {
        case 0:
            return random.between(1, 4);
        case 1:
            return random.between(900, 2300);
        default:
            return random.between(1, 90);
    }
}

constexpr Kernel* kLumaBands[] = {interpolateBCY_neon_4, interpolateBCY_neon_2, interpolateBCY_neon_1,
                                  interpolateBCY_neon_3};

constexpr Kernel* kChromaBands[] = {interpolateBLUV_neon_3, interpolateBLUV_neon_1, interpolateBLUV_neon_4,
                                    interpolateBLUV_neon_2};

struct LumaVariant {
    std::vector<Kernel*> kernels;
    int positionBits;
};

TEST(BicubicLuma, EqualsAPixelByPixelWalkInEveryVariant) {
    Random random(seed());
    const LumaVariant variants[] = {{{std::begin(kLumaBands), std::end(kLumaBands)}, 13},
                                    {{interpolateBCY_2, interpolateBCY_1}, 5},
                                    {{interpolateBCY_neon}, 5},
                                    {{interpolateBCY}, 6}};
    for (int i = 0; i < kRounds && !HasFatalFailure(); ++i) {
        const LumaVariant& variant = variants[i % 4];
        const int srcWidth = randomSide(random), srcHeight = random.between(1, 40);
        const int dstWidth = randomSide(random), dstHeight = random.between(1, 40);
        const Geometry src{srcWidth, srcHeight, srcWidth + random.between(0, 9)};
        const Geometry dst{dstWidth, dstHeight, dstWidth + random.between(0, 9)};
        expectSame(
            random, src, dst, srcWidth <= 2 ? 1 : 0,
            [&](uint8_t* from, uint8_t* to) {
                for (Kernel* kernel : variant.kernels) {
                    EXPECT_EQ(0, kernel(from, to, srcWidth, srcHeight, src.stride, dstWidth, dstHeight, dst.stride));
                }
            },
            [&](const uint8_t* from, uint8_t* to) {
                reference::luma(from, to, srcWidth, srcHeight, src.stride, dstWidth, dstHeight, dst.stride,
                                variant.positionBits);
            });
    }
}

TEST(BilinearChroma, EqualsAPixelByPixelWalk) {
    Random random(seed());
    for (int i = 0; i < kRounds && !HasFatalFailure(); ++i) {
        const int srcPairs = randomSide(random), srcHeight = random.between(1, 40);
        const int dstPairs = randomSide(random), dstHeight = random.between(1, 40);
        const Geometry src{2 * srcPairs, srcHeight, 2 * srcPairs + random.between(0, 9)};
        const Geometry dst{2 * dstPairs, dstHeight, 2 * dstPairs + random.between(0, 9)};
        expectSame(
            random, src, dst, 0,
            [&](uint8_t* from, uint8_t* to) {
                for (Kernel* kernel : kChromaBands) {
                    EXPECT_EQ(0, kernel(from, to, srcPairs, srcHeight, src.stride, dstPairs, dstHeight, dst.stride));
                }
            },
            [&](const uint8_t* from, uint8_t* to) {
                reference::chroma(from, to, srcPairs, srcHeight, src.stride, dstPairs, dstHeight, dst.stride);
            });
    }
}

/// Steps that are whole numbers in one direction or both, in rows of one strip and of several.
TEST(Scaler, WholeStepsEqualAPixelByPixelWalk) {
    Random random(seed());
    for (int i = 0; i < kRounds / 2 && !HasFatalFailure(); ++i) {
        const int dstWidth = random.between(0, 9) == 0 ? random.between(760, 1600) : random.between(1, 90);
        const int dstHeight = random.between(1, 20);
        const auto source = [&](int size) {
            const int whole = size * random.between(1, 5);
            return random.between(0, 2) == 0 ? whole + random.between(0, size - 1) : whole;
        };
        const int srcWidth = source(dstWidth), srcHeight = source(dstHeight);
        const Geometry lumaSrc{srcWidth, srcHeight, srcWidth + random.between(0, 9)},
            lumaDst{dstWidth, dstHeight, dstWidth};
        expectSame(
            random, lumaSrc, lumaDst, srcWidth <= 2 ? 1 : 0,
            [&](uint8_t* from, uint8_t* to) {
                for (Kernel* kernel : kLumaBands) {
                    kernel(from, to, srcWidth, srcHeight, lumaSrc.stride, dstWidth, dstHeight, lumaDst.stride);
                }
            },
            [&](const uint8_t* from, uint8_t* to) {
                reference::luma(from, to, srcWidth, srcHeight, lumaSrc.stride, dstWidth, dstHeight, lumaDst.stride, 13);
            });
        const Geometry pairSrc{2 * srcWidth, srcHeight, 2 * srcWidth},
            pairDst{2 * dstWidth, dstHeight, 2 * dstWidth + 3};
        expectSame(
            random, pairSrc, pairDst, 0,
            [&](uint8_t* from, uint8_t* to) {
                for (Kernel* kernel : kChromaBands) {
                    kernel(from, to, srcWidth, srcHeight, pairSrc.stride, dstWidth, dstHeight, pairDst.stride);
                }
            },
            [&](const uint8_t* from, uint8_t* to) {
                reference::chroma(from, to, srcWidth, srcHeight, pairSrc.stride, dstWidth, dstHeight, pairDst.stride);
            });
    }
}

TEST(Scaler, WidthsBeyondAnyPictureFit) {
    Random random(seed());
    const Geometry src{300001, 4, 300001}, dst{133333, 4, 133333};
    const auto run = [&](auto* function, auto* from, auto* to, auto... more) {
        function(from, to, src.width, src.height, src.stride, dst.width, dst.height, dst.stride, more...);
    };
    expectSame(
        random, src, dst, 0,
        [&](uint8_t* from, uint8_t* to) {
            for (Kernel* kernel : kLumaBands) run(kernel, from, to);
        },
        [&](const uint8_t* from, uint8_t* to) { run(reference::luma, from, to, 13); });
}

TEST(InterpolateProcess, EqualsAPixelByPixelWalkOverCropsAndStrides) {
    Random random(seed());
    for (int i = 0; i < kRounds && !HasFatalFailure(); ++i) {
        const bool singlePass = random.between(0, 1) == 1;
        const auto place = [&](int size) { return random.between(0, 2) == 0 ? random.between(0, size) : 0; };
        const int srcW = random.between(3, 200), srcH = random.between(1, 60);
        const int dstW = random.between(1, 200), dstH = random.between(1, 60);
        const int srcX = place(9), srcY = place(9), dstX = place(9), dstY = place(9);
        const int srcStride = srcX + srcW + place(9), dstStride = dstX + dstW + place(9);
        // Both planes in one block. The luma keeps whole rows; the chroma ends with its region.
        const auto chromaStart = [](int y, int height, int stride) { return (y + height) * stride; };
        const auto blockBytes = [&](int x, int y, int width, int height, int stride) {
            const int rows = std::max(height / 2 - 1, 0);
            return chromaStart(y, height, stride) + (y * stride >> 1) + (x & ~1) + rows * stride + (width & ~1);
        };
        const int srcBytes = blockBytes(srcX, srcY, srcW, srcH, srcStride);
        const int dstBytes = blockBytes(dstX, dstY, dstW, dstH, dstStride);
        const auto with = [&](auto* function, auto* from, auto* to) {
            function(from, from + chromaStart(srcY, srcH, srcStride), to, to + chromaStart(dstY, dstH, dstStride), -1,
                     -1, srcStride, -1, -1, dstStride, srcX, srcY, srcW, srcH, dstX, dstY, dstW, dstH, singlePass);
        };
        expectSame(
            random, {srcBytes, 1, 0}, {dstBytes, 1, 0}, 0,
            [&](uint8_t* from, uint8_t* to) { with(Interpolate_process, from, to); },
            [&](const uint8_t* from, uint8_t* to) { with(reference::interpolate, from, to); });
    }
}

/// Weights that sum to 4096, or any at all, which saturate and wrap.
std::vector<short> randomFilter(Random& random) {
    const Interp4Filter filter = makeInterp4Filter();
    std::vector<short> weights(filter.begin(), filter.end());
    const int kind = random.between(0, 2);
    for (short& weight : weights) {
        if (kind == 1) weight = static_cast<short>(random.between(INT16_MIN, INT16_MAX));
        if (kind == 2) weight = random.between(0, 1) ? INT16_MAX : INT16_MIN;
    }
    return weights;
}

TEST(Interp4, BandEqualsAPixelByPixelWalkOverCropsTablesAndOddSizes) {
    Random random(seed());
    for (int i = 0; i < kRounds && !HasFatalFailure(); ++i) {
        std::vector<short> filter = randomFilter(random);
        const bool lumaOnly = random.between(0, 4) == 0;
        const int srcW = random.between(1, random.between(4, 120)), srcH = random.between(1, random.between(4, 60));
        const int dstW = i % 20 ? random.between(1, 200) : random.between(1000, 2400);
        const int dstH = random.between(1, 60);
        const int cropX = random.between(0, srcW - 1), cropY = random.between(0, srcH - 1);
        const int cropW = random.between(1, srcW - cropX), cropH = random.between(1, srcH - cropY);
        const int bandX = random.between(0, dstW - 1) / 2, bandY = random.between(0, dstH - 1);
        const int bandW = random.between(0, dstW - bandX), bandH = random.between(0, dstH - bandY);
        const int srcLuma = srcW * srcH, dstLuma = dstW * dstH;
        // Chroma first, so that in one of the two runs it, and not the luma, ends at the guard page.
        for (bool chromaLast : {false, true}) {
            const auto with = [&](auto* function, auto* from, auto* to) {
                auto* fromY = from + (chromaLast ? 0 : srcLuma / 2);
                auto* fromUV = from + (chromaLast ? srcLuma : 0);
                function(fromY, fromUV, to, to + dstLuma, filter.data(), srcW, srcH, cropX, cropY, cropW, cropH, dstW,
                         dstH, bandX, bandY, bandW, bandH, lumaOnly);
            };
            expectSame(
                random, {srcLuma + srcLuma / 2, 1, 0}, {dstLuma + dstLuma / 2, 1, 0}, 0,
                [&](uint8_t* from, uint8_t* to) { with(NV12_Interp4_Interpolate, from, to); },
                [&](const uint8_t* from, uint8_t* to) { with(reference::interp4, from, to); });
        }
    }
}

TEST(Interp4, WideStripsWriteWhatNarrowOnesDo) {
    Random random(seed());
    const Interp4Filter filter = makeInterp4Filter();
    for (int width : {1200, 2048, 4100}) {
        const Interp4Axis columns(700, 0, 700, width), rows(6, 0, 6, random.between(7, 40));
        const std::vector<uint8_t> src = random.content(700 * 6);
        const auto scaled = [&](bool isStackDeep) {
            std::vector<uint8_t> out(static_cast<size_t>(width) * 9);
            scaleInterp4Luma({src.data(), 700, 700, 6}, {out.data(), width, 0, width, {0, 6, false}, isStackDeep},
                             filter.data(), columns, rows);
            scaleInterp4Chroma({src.data(), 700, 350, 3},
                               {&out[static_cast<size_t>(width) * 6], width, 0, width / 2, {0, 3, false}, isStackDeep},
                               columns, rows);
            return out;
        };
        EXPECT_TRUE(scaled(true) == scaled(false)) << "seed " << seed() << ": " << width;
    }
}

TEST(Interp4, FilterIsTheCubicKernelAndKeepsLevels) {
    const Interp4Filter filter = makeInterp4Filter();
    for (size_t phase = 0; phase < kInterp4Phases; ++phase) {
        const double t = static_cast<double>(phase) / 32;
        const double exact[] = {-0.5 * t + t * t - 0.5 * t * t * t, 1 - 2.5 * t * t + 1.5 * t * t * t,
                                0.5 * t + 2 * t * t - 1.5 * t * t * t, -0.5 * t * t + 0.5 * t * t * t};
        int sum = 0;
        for (size_t tap = 0; tap < 4; ++tap) {
            const int weight = filter[4 * phase + tap];
            EXPECT_LT(std::abs(weight - 4096 * exact[tap]), 1.0) << "phase " << phase << " tap " << tap;
            EXPECT_EQ(weight, filter[4 * ((32 - phase) % 32) + (phase ? 3 - tap : tap)]);
            sum += weight;
        }
        EXPECT_EQ(sum, 4096);
    }
}

TEST(Scaler, ThreadEntriesWriteTheRowsOfTheirBandAndReturnTheirArgument) {
    using Entry = void*(void*);
    Entry* const luma[] = {interpolateBCY_neon_thread1, interpolateBCY_neon_thread2, interpolateBCY_neon_thread3,
                           interpolateBCY_neon_thread4};
    Entry* const chroma[] = {interpolateBLUV_neon_thread1, interpolateBLUV_neon_thread2, interpolateBLUV_neon_thread3,
                             interpolateBLUV_neon_thread4};
    std::vector<uint8_t> src(16 * 16, 7);
    for (int height = 1; height <= 16; ++height) {
        const int edges[] = {0, height / 4, height / 2, 3 * height / 4, height};
        const auto rows = [&](size_t band) {
            std::vector<uint8_t> plane(16 * 16);
            std::fill(plane.begin() + 16 * edges[band], plane.begin() + 16 * edges[band + 1], uint8_t{7});
            return plane;
        };
        for (size_t band = 0; band < 4; ++band) {
            std::vector<uint8_t> y(16 * 16), both(16 * 16), alone(16 * 16);
            ScaleSliceArgs pairs{src.data(), both.data(), 8, 16, 16, 8, height, 16};
            LumaSliceArgs args{{src.data(), y.data(), 16, 16, 16, 16, height, 16}, &pairs};
            EXPECT_EQ(luma[band](&args), &args);
            args.luma = {src.data(), alone.data(), 8, 16, 16, 8, height, 16};
            EXPECT_EQ(chroma[band](&args), &args);
            EXPECT_EQ(y, rows(band)) << "band " << band + 1 << " of " << height;
            EXPECT_EQ(both, rows(band));
            EXPECT_EQ(alone, rows(std::min<size_t>(band, 2)));  // the fourth entry works on band 3
        }
        std::vector<uint8_t> upper(16 * 16), lower(16 * 16);
        interpolateBCY_1(src.data(), upper.data(), 16, 16, 16, 16, height, 16);
        interpolateBCY_2(src.data(), lower.data(), 16, 16, 16, 16, height, 16);
        EXPECT_EQ(std::count(upper.begin(), upper.end(), 7), 16 * (height / 2));
        EXPECT_EQ(lower[static_cast<size_t>(16 * (height / 2))], 7);
    }
}

TEST(Scaler, SizesOfZeroOrLessWriteNothing) {
    uint8_t src[64] = {}, dst[64];
    std::fill(std::begin(dst), std::end(dst), kCanary);
    short filter[128] = {};
    for (int i = 0; i < 12; ++i) {
        int s[4] = {4, 4, 4, 4};
        s[i % 4] = i < 4 ? 0 : i < 8 ? -1 : INT32_MIN;
        for (Kernel* kernel : {interpolateBCY, interpolateBCY_1, interpolateBCY_2, interpolateBCY_neon,
                               interpolateBCY_neon_2, interpolateBLUV_neon_2}) {
            EXPECT_EQ(0, kernel(src + 8, dst, s[0], s[1], 4, s[2], s[3], 4));
        }
        Interpolate_process(src + 8, src + 32, dst, dst + 32, 4, 4, 4, 4, 4, 4, 0, 0, s[0], s[1], 0, 0, s[2], s[3],
                            false);
        NV12_Interp4_Interpolate(src, src, dst, dst, filter, s[0], s[1], 0, 0, 4, 4, s[2], s[3], 0, 0, 4, 4, false);
        NV12_Interp4_Interpolate(src, src, dst, dst, filter, 4, 4, 0, 0, s[0], s[1], 4, 4, 0, 0, s[2], s[3], false);
        EXPECT_EQ(64, std::count(std::begin(dst), std::end(dst), kCanary)) << i;
    }
}

}  // namespace
}  // namespace vantor::test
