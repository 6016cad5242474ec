// The software scaling entry through the shared library: statuses, log lines, planes and threads. The program
// replaces the platform's logger and thread calls, and so sees every one that the library makes.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <string>

#include "hardware/vantorClient/vantor_client.h"
#include "tests/support.h"

namespace {

using hardware::IMAGE_FORMAT_GRAYSCALE;
using hardware::IMAGE_FORMAT_NV12;
using hardware::vantorClient;
using BufferData = vantorClient::BufferData;

std::vector<std::string> logLines;
std::string lastFormat;
int threadCalls = 0;
int threadsJoined = 0;
int failingThreadCall = 0;  // counted from 1; 0 for none

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
extern "C" int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*),
                              void* data) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    EXPECT_EQ(attributes, nullptr);
    return ++threadCalls == failingThreadCall ? EAGAIN : real(thread, attributes, entry, data);
}

extern "C" int pthread_join(pthread_t thread, void** result) {
    static const auto real = reinterpret_cast<decltype(&pthread_join)>(dlsym(RTLD_NEXT, "pthread_join"));
    ++threadsJoined;
    return real(thread, result);
}
#endif

namespace {

#if UINTPTR_MAX == UINT32_MAX
static_assert(sizeof(BufferData) == 40);
#endif
static_assert(offsetof(BufferData, uv) == sizeof(void*) && offsetof(BufferData, fdY) == 2 * sizeof(void*));
static_assert(offsetof(BufferData, fdUV) == offsetof(BufferData, fdY) + 4);
static_assert(offsetof(BufferData, width) == offsetof(BufferData, fdY) + 8);
static_assert(offsetof(BufferData, height) == offsetof(BufferData, fdY) + 12);
static_assert(offsetof(BufferData, cropLeft) == offsetof(BufferData, fdY) + 16);
static_assert(offsetof(BufferData, cropBottom) == offsetof(BufferData, fdY) + 28);

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
        threadCalls = threadsJoined = failingThreadCall = 0;
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
            const BufferData a =
                src.with(given.srcY ? from.y : nullptr, given.srcUV ? src.chroma() : nullptr);
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
            EXPECT_EQ(lastFormat,
                      "%s:%s():%d Invalid arguments [src.y=%p / src.uv=%p / dst.y=%p / dst.uv=%p]");
        }
        EXPECT_EQ(dst.block, untouched);
        EXPECT_EQ(threadCalls, 0);
    }
}

TEST_F(Transcript, OtherFormatsAreRefusedWithoutAWord) {
    for (const int format : {2, -1, INT32_MIN}) {
        for (const int width : {8, 16, 32}) {
            Image src(16, 8, 1), dst(width, 8, 2);
            const std::vector<uint8_t> untouched = dst.block;
            EXPECT_EQ(-38, vantorClient::runInterpBicubic(dst.data, src.data, format));
            EXPECT_EQ(dst.block, untouched);
        }
    }
    EXPECT_TRUE(logLines.empty());
}

TEST_F(Transcript, EqualSizesAreCopiedWithoutThreads) {
    Image src(16, 8, 1), dst(16, 8, 2);
    std::vector<uint8_t> expected = dst.block;
    EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, IMAGE_FORMAT_GRAYSCALE));
    std::fill_n(expected.begin(), 128, uint8_t{1});
    EXPECT_EQ(dst.block, expected);
    EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, IMAGE_FORMAT_NV12));
    EXPECT_EQ(dst.block, src.block);
    Image apart(16, 8, 3);
    std::vector<uint8_t> uv(64);
    EXPECT_EQ(0, vantorClient::runInterpBicubic(apart.with(apart.data.y, uv.data()),
                                                src.with(src.data.y, src.chroma()), IMAGE_FORMAT_NV12));
    EXPECT_EQ(uv, std::vector<uint8_t>(64, 1));
    EXPECT_EQ(apart.block[127], 1);
    EXPECT_EQ(apart.block[128], 3);
    EXPECT_EQ(threadCalls, 0);
}

TEST_F(Transcript, ChromaGoesWhereThePlanesSay) {
    // Reduced: a null chroma plane lies behind its luma, each for itself, for gray as well. Enlarged: gray
    // has none.
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
            EXPECT_EQ(dst.block, untouched);
        }
    }
    EXPECT_TRUE(logLines.empty());
}

#ifndef VANTOR_KEEP_THREAD_CALLS
TEST_F(Transcript, EachPassCreatesAndJoinsThreeThreadsAndSurvivesAnyOfThemFailing) {
    struct Case {
        int width, format, threads;
    };
    for (const Case& c : {Case{24, IMAGE_FORMAT_NV12, 6}, Case{24, IMAGE_FORMAT_GRAYSCALE, 3},
                          Case{80, IMAGE_FORMAT_NV12, 3}, Case{80, IMAGE_FORMAT_GRAYSCALE, 3}}) {
        vantor::test::Random random(vantor::test::seed());
        Image src(40, 30, 0), expected(c.width, 26, 0);
        src.block = random.content(src.block.size());
        src.data.y = src.block.data();
        SetUp();
        EXPECT_EQ(0, vantorClient::runInterpBicubic(expected.data, src.data, c.format));
        EXPECT_EQ(threadCalls, c.threads);
        EXPECT_EQ(threadsJoined, c.threads);
        for (int failing = 1; failing <= c.threads; ++failing) {
            Image dst(c.width, 26, 0);
            SetUp();
            failingThreadCall = failing;
            EXPECT_EQ(0, vantorClient::runInterpBicubic(dst.data, src.data, c.format));
            EXPECT_EQ(threadCalls, c.threads);
            EXPECT_EQ(threadsJoined, c.threads - 1);
            EXPECT_TRUE(dst.block == expected.block) << "thread " << failing << " of " << c.threads;
        }
        EXPECT_TRUE(logLines.empty());
    }
}
#endif

}  // namespace
