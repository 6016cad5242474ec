// The requests through the shared library: statuses, log lines, planes and threads. The program
// replaces the platform's logger and thread calls, and so sees every one that the library makes.
#include <dlfcn.h>
#include <pthread.h>

#include "gdc_model/gdc_state.h"
#include "scaler/interpolate.h"
#include "tests/support.h"

namespace {

using hardware::IMAGE_FORMAT_GRAYSCALE;
using hardware::IMAGE_FORMAT_NV12;
using hardware::vantorClient;
using BufferData = vantorClient::BufferData;

std::vector<std::string> logLines;
std::string lastFormat;
struct Thread {
    void* (*entry)(void*);
    void* record;
    pthread_t handle;
};

std::vector<Thread> threads;                      // created, or asked for
std::vector<Thread> joined;                       // in the order of joining; `record` is what the thread returned
size_t failingThreadCall = 0;                     // counted from 1; 0 for none
[[maybe_unused]] void (*beforeThread)() = [] {};  // called before each thread is created

}  // namespace

extern "C" int __android_log_print(int priority, const char* tag, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    lastFormat = format;
    logLines.push_back(std::to_string(priority) + " " + tag + " " + text);
    return 1;
}

#ifndef VANTOR_KEEP_THREAD_CALLS
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* data) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    EXPECT_EQ(attributes, nullptr);
    beforeThread();
    const bool fails = threads.size() + 1 == failingThreadCall;
    const int result = fails ? EAGAIN : real(thread, attributes, entry, data);
    threads.push_back({entry, data, fails ? pthread_t{} : *thread});
    return result;
}

extern "C" int pthread_join(pthread_t thread, void** result) {
    static const auto real = reinterpret_cast<decltype(&pthread_join)>(dlsym(RTLD_NEXT, "pthread_join"));
    EXPECT_EQ(result, nullptr);
    void* returned = nullptr;
    const int status = real(thread, &returned);
    joined.push_back({nullptr, returned, thread});
    return status;
}
#endif

namespace {

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(BufferData) == 40 && sizeof(ScaleSliceArgs) == 32 && sizeof(LumaSliceArgs) == 36);
#endif
constexpr size_t kFirstInt = offsetof(BufferData, fdY);
static_assert(offsetof(BufferData, uv) == sizeof(void*) && kFirstInt == 2 * sizeof(void*) &&
              offsetof(BufferData, fdUV) == kFirstInt + 4 && offsetof(BufferData, width) == kFirstInt + 8 &&
              offsetof(BufferData, height) == kFirstInt + 12 && offsetof(BufferData, cropLeft) == kFirstInt + 16 &&
              offsetof(BufferData, cropTop) == kFirstInt + 20 && offsetof(BufferData, cropRight) == kFirstInt + 24 &&
              offsetof(BufferData, cropBottom) == kFirstInt + 28);

/// A picture whose planes lie in one block with room for chroma, or in two.
struct Image {
    Image(int width, int height, uint8_t level) : block(static_cast<size_t>(width * height) * 3 / 2, level) {
        data.y = block.data();
        data.width = width;
        data.height = height;
    }
    uint8_t* chroma() { return block.data() + data.width * data.height; }
    BufferData with(uint8_t* y, uint8_t* uv) const {
        BufferData other = data;
        other.y = y;
        other.uv = uv;
        return other;
    }

    std::vector<uint8_t> block;
    BufferData data;
};

struct Transcript : testing::Test {
    void SetUp() override {
        logLines.clear();
        threads.clear();
        joined.clear();
        failingThreadCall = 0;
    }
};

TEST_F(Transcript, Nv12WithMissingPlanesIsRefusedWhereItIsCopiedOrEnlarged) {
    for (const int width : {16, 32}) {
        Image src(16, 8, 1), dst(width, 8, 2);
        const std::vector<uint8_t> untouched = dst.block;
        struct Planes {
            bool srcY, srcUV, dstY, dstUV;
        };
        for (const Planes& given : {Planes{true, true, true, false}, Planes{true, false, true, true},
                                    Planes{false, false, true, false}, Planes{true, true, false, true}}) {
            const BufferData from = src.data, to = dst.data;
            const BufferData a = src.with(given.srcY ? from.y : nullptr, given.srcUV ? src.chroma() : nullptr);
            const BufferData b = dst.with(given.dstY ? to.y : nullptr, given.dstUV ? dst.chroma() : nullptr);
            logLines.clear();
            EXPECT_EQ(-38, vantorClient::runInterpBicubic(b, a, IMAGE_FORMAT_NV12));
            char message[200];
            std::snprintf(message, sizeof message,
                          "6 VANTOR_CLIENT vantor_client.cpp:runInterpBicubic():%d Invalid arguments "
                          "[src.y=%p / src.uv=%p / dst.y=%p / dst.uv=%p]",
                          width == 16 ? 341 : 383, static_cast<void*>(a.y), static_cast<void*>(a.uv),
                          static_cast<void*>(b.y), static_cast<void*>(b.uv));
            EXPECT_EQ(logLines, std::vector<std::string>{message});
            EXPECT_EQ(lastFormat, "%s:%s():%d Invalid arguments [src.y=%p / src.uv=%p / dst.y=%p / dst.uv=%p]");
        }
        EXPECT_EQ(dst.block, untouched);
        EXPECT_TRUE(threads.empty());
    }
}

TEST_F(Transcript, OtherFormatsAreRefusedWithoutAWord) {
    for (const int width : {8, 16, 32}) {
        Image src(16, 8, 1), dst(width, 8, 2);
        const std::vector<uint8_t> untouched = dst.block;
        for (const int format : {2, -1, INT32_MIN}) {
            EXPECT_EQ(-38, vantorClient::runInterpBicubic(dst.data, src.data, format));
        }
        EXPECT_TRUE(dst.block == untouched && logLines.empty());
    }
}

TEST_F(Transcript, EqualSizesAreCopiedWithoutThreads) {
    Image src(16, 8, 1), dst(16, 8, 2);
    std::vector<uint8_t> expected = dst.block;
    EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, IMAGE_FORMAT_GRAYSCALE));
    std::fill_n(expected.begin(), 128, uint8_t{1});
    EXPECT_EQ(dst.block, expected);
    EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, IMAGE_FORMAT_NV12));
    EXPECT_EQ(dst.block, src.block);
    Image odd(5, 3, 1), apart(5, 3, 3);  // 15 bytes of luma, 7 of chroma
    std::vector<uint8_t> uv(8, 3);
    odd.block.resize(23, 1);
    odd.data.y = odd.block.data();
    EXPECT_EQ(0, vantorClient::runInterpBicubic(apart.with(apart.data.y, uv.data()), odd.with(odd.data.y, odd.chroma()),
                                                IMAGE_FORMAT_NV12));
    EXPECT_EQ(uv, (std::vector<uint8_t>{1, 1, 1, 1, 1, 1, 1, 3}));
    EXPECT_EQ(apart.block[14] * 10 + apart.block[15], 13);
    apart.block.resize(23, 3);
    apart.data.y = apart.block.data();
    EXPECT_EQ(0, vantorClient::runInterpBicubic(apart.data, odd.data, IMAGE_FORMAT_NV12));
    EXPECT_EQ(apart.block[21] * 10 + apart.block[22], 13);
    EXPECT_TRUE(threads.empty());
}

TEST_F(Transcript, ChromaGoesWhereThePlanesSay) {
    // Reduced: a null chroma plane follows its luma, each for itself, for gray as well. Enlarged: gray has none.
    for (const int width : {16, 64}) {
        for (const int format : {IMAGE_FORMAT_GRAYSCALE, IMAGE_FORMAT_NV12}) {
            Image src(32, 16, 90), dst(width, 16, 0);
            std::vector<uint8_t> uv(static_cast<size_t>(width) * 8, 0);
            const BufferData apart = dst.with(dst.data.y, uv.data());
            const BufferData from = width == 64 ? src.with(src.data.y, src.chroma()) : src.data;
            const bool writesChroma = width == 16 || format == IMAGE_FORMAT_NV12;
            EXPECT_EQ(0, vantorClient::runInterpBicubic(apart, from, format));
            EXPECT_EQ(uv, std::vector<uint8_t>(uv.size(), writesChroma ? 90 : 0));
            EXPECT_EQ(*dst.chroma(), 0);
            EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, format));
            EXPECT_EQ(*dst.chroma(), writesChroma ? 90 : 0);
            EXPECT_EQ(dst.block[0], 90);
        }
    }
    EXPECT_TRUE(logLines.empty());
}

TEST_F(Transcript, SizesOfZeroOrLessSucceedAndWriteNothing) {
    for (const int size : {0, -16}) {
        for (const int format : {IMAGE_FORMAT_GRAYSCALE, IMAGE_FORMAT_NV12}) {
            Image src(16, 16, 1), dst(16, 16, 2);
            const std::vector<uint8_t> untouched = dst.block;
            BufferData empty = dst.data, emptySource = src.data;
            empty.width = emptySource.width = size;
            EXPECT_EQ(0, vantorClient::runInterpBicubic(empty, src.data, format));
            EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, emptySource, format));
            EXPECT_EQ(0, vantorClient::runInterpBicubic(empty, emptySource, format));
            empty.height = emptySource.height = size;
            EXPECT_EQ(0, vantorClient::runInterpBicubic(empty, emptySource, format));
            EXPECT_EQ(dst.block, untouched);
        }
    }
    EXPECT_TRUE(logLines.empty());
}

/// A warp that would succeed; tests break one thing at a time.
struct Warp : Transcript {
    Warp() : src(96, 64, 1), dst(96, 64, 2) {
        dst.data.cropRight = 95;
        dst.data.cropBottom = 63;
    }

    int32_t run(int32_t format = IMAGE_FORMAT_NV12, int32_t target = hardware::GDC_C_MODEL) {
        logLines.clear();
        return vantorClient::runGDCGrid(dst.data, src.data, grid, format, target);
    }

    void expectError(const std::string& line, const char* target = "GDC_C_MODEL") {
        const std::string prefix = " VANTOR_CLIENT vantor_client.cpp:";
        EXPECT_EQ(logLines, (std::vector<std::string>{
                                "4" + prefix + "runGDCGrid():1132 Process WARPING using GDC (target=" + target + ")",
                                "6" + prefix + line}));
    }

    Image src, dst;
    vantorClient::_GDCGrid grid{};
};

TEST_F(Warp, AndScalingAreValidatedInOrder) {
    struct Case {
        int srcWidth, srcHeight, dstWidth, dstHeight, format;
        const char* line;
    };
    const Case warps[] = {
        {95, 6146, 95, 64, 2, "1143 Invalid src image size [95x6146] : must not be smaller than [96x64]"},
        {8193, 16, 96, 64, 1, "1143 Invalid src image size [8193x16] : must not be smaller than [96x64]"},
        {8193, 64, 96, 63, 1, "1148 Invalid dst image size [96x63] : must not be smaller than [96x64]"},
        {8193, 64, 8193, 64, 1, "1153 Invalid src image size [8193x64] : must not be larger than [8192x6144]"},
        {96, 64, 96, 6145, 1, "1158 Invalid dst image size [96x6145] : must not be larger than [8192x6144]"},
        {97, 64, 96, 64, 2,
         "1164 Invalid scaling factor [src(97x64), dst(96x64)] : src size must be same with dst size"},
        {97, 65, 97, 65, -1, "1169 Invalid image format(-1)"},
        {104, 64, 104, 64, 1, "1175 Src width(104) and height(64) must be aligned with w=16, h=2 for GDC"},
        {96, 65, 96, 65, 0, "1175 Src width(96) and height(65) must be aligned with w=16, h=2 for GDC"}};
    const Case scalings[] = {
        {15, 16, 3, 4, 5, "431 Invalid image format(5)"},
        {15, 16, 3, 4, 1, "437 Invalid src image size [15x16] : must not be smaller than 16x16"},
        {8194, 16, 3, 4, 1, "443 Invalid dst image size [3x4] : must not be smaller than 4x4"},
        {8194, 16, 8194, 16, 0, "449 Invalid src image size [8194x16] : must not be larger than 8192x8192"},
        {16, 16, 16, 8194, 1, "455 Invalid dst image size [16x8194] : must not be larger than 8192x8192"},
        {100, 100, 20, 20, 1,
         "463 Invalid scaling factor [scaleW=0.200000, scaleH=0.200000] : must not be smaller than "
         "[scaleW=0.250000, "
         "scaleH=0.250000]"},
        {17, 16, 17, 130, 1,
         "471 Invalid scaling factor [scaleW=1.000000, scaleH=8.125000] : must not be larger than "
         "[scaleW=8.000000, "
         "scaleH=8.000000]"},
        {17, 16, 16, 17, 1, "478 Src width(17) and height(16) must be aligned with w=2, h=2 for CSC"},
        {16, 16, 4, 5, 1, "484 Dst width(4) and height(5) must be aligned with w=2, h=2 for CSC"}};
    const auto check = [&](const Case& c, const std::string& function, const std::string& start, const auto& request) {
        src.data.width = c.srcWidth;
        src.data.height = c.srcHeight;
        dst.data.width = c.dstWidth;
        dst.data.height = c.dstHeight;
        logLines.clear();
        EXPECT_EQ(-38, request(c.format));
        const std::string prefix = " VANTOR_CLIENT vantor_client.cpp:" + function + "():";
        EXPECT_EQ(logLines, (std::vector<std::string>{"4" + prefix + start, "6" + prefix + c.line}));
    };
    for (const Case& c : warps) {
        check(c, "runGDCGrid", "1132 Process WARPING using GDC (target=GDC_C_MODEL)", [&](int f) { return run(f); });
    }
    for (const Case& c : scalings) {
        check(c, "runCSC", "421 Process SCALING using CSC",
              [&](int f) { return vantorClient::runCSC(dst.data, src.data, f); });
    }
    const int16_t matrix[6] = {};
    EXPECT_EQ(-38, vantorClient::runGDCMatrix(dst.data, src.data, matrix, IMAGE_FORMAT_NV12, 2));
    EXPECT_EQ(logLines.back(), "6 VANTOR_CLIENT vantor_client.cpp:runGDCMatrix():1249 runGDCGrid() failed");
}

TEST_F(Warp, RefusesUnknownTargetsLast) {
    EXPECT_EQ(-38, run(IMAGE_FORMAT_NV12, 2));
    expectError("runGDCGrid():1191 Invalid target model for GDC", "INVALID");
}

TEST_F(Warp, ChromaGoesWhereThePlanesSay) {
    std::vector<uint8_t> uv(96 * 32, 9), out(96 * 32, 9);
    EXPECT_EQ(0, run(IMAGE_FORMAT_GRAYSCALE));
    EXPECT_EQ(dst.block[96 * 64 - 1], 1);
    EXPECT_EQ(dst.block[96 * 64], 2);
    EXPECT_EQ(m_LT_val, 0);  // the model's chroma
    EXPECT_EQ(0, run());
    EXPECT_EQ(dst.block, src.block);
    dst.data.uv = out.data();
    src.data.uv = uv.data();
    std::fill(dst.block.begin(), dst.block.end(), uint8_t{2});
    EXPECT_EQ(0, run());
    EXPECT_EQ(out, uv);
    EXPECT_EQ(dst.block[96 * 64], 2);
    EXPECT_EQ(logLines.size(), 1U);
}

TEST_F(Warp, RegionsAreTakenAsTheyAre) {
    dst.data.cropRight = -1;  // empty: zero bytes
    EXPECT_EQ(0, run());
    EXPECT_EQ(dst.block, std::vector<uint8_t>(dst.block.size(), 0));
    dst.data.cropTop = 3;
    dst.data.cropRight = 299;  // larger than the picture: its first samples, what lies outside black
    EXPECT_EQ(0, run());
    EXPECT_EQ(dst.block[95], 1);
    EXPECT_EQ(dst.block[96], 0);
    EXPECT_EQ(m_nOutCropStartY * 1000 + m_nOutCropHeight, 3 * 1000 + 61);
    dst.data.cropLeft = INT32_MIN;
    EXPECT_EQ(-38, run());
    dst.data.cropLeft = dst.data.cropTop = 0;
    dst.data.cropRight = dst.data.cropBottom = 30000;  // five times its samples do not fit 32 bits
    EXPECT_EQ(-38, run());
    EXPECT_EQ(logLines.size(), 1U);
}

TEST_F(Warp, NullPlanesAreFoundBeforeAndAfterTheCore) {
    grid.dX[5] = 77;
    src.data.y = nullptr;
    EXPECT_EQ(-38, run());
    expectError("runGDCCModelGrid():1073 Invalid arguments [src.y=(nil) / src.uv=(nil)]");
    EXPECT_NE(m_curGrid_dX[0][5], 77);
    dst.data.cropLeft = INT32_MIN;  // uncountable, which alone has no line
    EXPECT_EQ(-38, run());
    expectError("runGDCCModelGrid():1073 Invalid arguments [src.y=(nil) / src.uv=(nil)]");
    dst.data.cropLeft = 0;
    src.data.y = src.block.data();
    dst.data.y = nullptr;
    EXPECT_EQ(-38, run());
    expectError("runGDCCModelGrid():1102 Invalid arguments [dst.y=(nil) / dst.uv=(nil)]");
    EXPECT_EQ(m_curGrid_dX[0][5] * 1000 + m_LT_val, 77 * 1000 + 1);
    for (uint8_t* y : {src.data.y, static_cast<uint8_t*>(nullptr)}) {
        src.data.y = y;
        EXPECT_EQ(0, run(IMAGE_FORMAT_GRAYSCALE));
    }
}

#ifndef VANTOR_KEEP_THREAD_CALLS
Image* wipedChroma = nullptr;

TEST_F(Transcript, TheSecondPassComputesAllChromaAgain) {
    Image src(40, 32, 5), dst(24, 26, 0);
    wipedChroma = &dst;
    beforeThread = [] {
        if (threads.size() == 3) std::fill(wipedChroma->chroma(), wipedChroma->block.data() + 936, uint8_t{77});
    };
    EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, IMAGE_FORMAT_NV12));
    beforeThread = [] {};
    EXPECT_EQ(dst.block, std::vector<uint8_t>(936, 5));
    void* (*const entries[])(void*) = {interpolateBCY_neon_thread1,  interpolateBCY_neon_thread2,
                                       interpolateBCY_neon_thread3,  interpolateBLUV_neon_thread1,
                                       interpolateBLUV_neon_thread2, interpolateBLUV_neon_thread3};
    for (size_t i = 0; i < 6; ++i) {
        EXPECT_EQ(threads[i].entry, entries[i]);
        EXPECT_EQ(threads[i].record, threads[i % 3].record);
    }
}

TEST_F(Transcript, EachPassJoinsItsThreeThreadsInOrderAndSurvivesAnyOfThemFailing) {
    struct Case {
        int width, format;
        size_t threads;
    };
    for (const Case& c : {Case{24, IMAGE_FORMAT_NV12, 6}, Case{24, IMAGE_FORMAT_GRAYSCALE, 3},
                          Case{80, IMAGE_FORMAT_NV12, 3}, Case{80, IMAGE_FORMAT_GRAYSCALE, 3}}) {
        vantor::test::Random random(vantor::test::seed());
        Image src(40, 30, 0), expected(c.width, 26, 0);
        src.block = random.content(src.block.size());
        src.data.y = src.block.data();
        for (size_t failing = 0; failing <= c.threads; ++failing) {
            Image dst(c.width, 26, 0);
            SetUp();
            failingThreadCall = failing;
            EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, c.format));
            ASSERT_EQ(threads.size(), c.threads);
            if (failing > 0) threads.erase(threads.begin() + static_cast<std::ptrdiff_t>(failing - 1));
            ASSERT_EQ(joined.size(), threads.size());
            for (size_t i = 0; i < joined.size(); ++i) {
                EXPECT_EQ(joined[i].handle, threads[i].handle);
                EXPECT_EQ(joined[i].record, c.width == 80 ? nullptr : threads[i].record);
            }
            if (failing == 0) expected.block = dst.block;
            EXPECT_TRUE(dst.block == expected.block) << "thread " << failing << " of " << c.threads;
        }
        EXPECT_TRUE(logLines.empty());
    }
}
#endif

}  // namespace
