// The C library beside the device's, whose bytes it gives: layouts, threads, errors and missing memory.
#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <cfenv>
#include <filesystem>
#include <thread>

#include "tests/bindings/c/picture.h"

namespace {

std::atomic<bool> threadsFail{false};
std::atomic<int> threadsMade{0}, signalsOpen{0};   // signals that created threads do not block
std::atomic<int> allocations{0}, firstFailing{0};  // counted from 1; 0 for none
std::atomic<bool> laterFail{false};

}  // namespace

// Sanitizers have memory and thread calls of their own.
#ifndef VANTOR_SANITIZED
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
static bool fails() {
    const int number = ++allocations, first = firstFailing;
    return first != 0 && (number == first || (number > first && laterFail));
}
void* malloc(size_t size) { return fails() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* data) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsFail) return EAGAIN;
    ++threadsMade;
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    signalsOpen = 0;
    for (const int signal : {SIGINT, SIGTERM, SIGSEGV, SIGUSR1, SIGALRM, SIGPROF, SIGRTMIN})
        signalsOpen += !sigismember(&mask, signal);
    return real(thread, attributes, entry, data);
}
}
#endif

namespace vantor::test {
namespace {

static_assert(sizeof(vantor_image) == (sizeof(void*) == 8 ? 64 : 36) && sizeof(vantor_rect) == 16 &&
              sizeof(vantor_grid) == 8712 && sizeof(vantor_grid) == sizeof(hardware::vantorClient::_GDCGrid));

#if defined(VANTOR_SANITIZED) || defined(VANTOR_EMULATED)
constexpr int kSide = 768, kRounds = 4;
#else
constexpr int kSide = 1500, kRounds = 12;
#endif
#ifdef __SANITIZE_THREAD__
constexpr Layout kLayouts[] = {Layout::Packed, Layout::Padded};  // mappings are slow
#else
constexpr Layout kLayouts[] = {Layout::Packed, Layout::Padded, Layout::FlushLeft, Layout::FlushRight};
#endif

using Engine = std::unique_ptr<vantor_engine, decltype(&vantor_engine_free)>;
Engine engineOf(int threads) { return {vantor_engine_new(threads), vantor_engine_free}; }

/// Both kinds of work on one source, and the device's bytes.
struct Work {
    explicit Work(int side) : size{side, side} { src.fill(source); }
    /// Whether the engine's calls give the device's bytes; for any thread and process.
    bool isRight(vantor_engine* engine) const {
        Picture first(VANTOR_NV12, smaller), second(VANTOR_NV12, size);
        return vantor_scale(engine, &first.view, &src.view) == VANTOR_OK && first.has(scaled) &&
               vantor_warp(engine, &second.view, &src.view, &grid) == VANTOR_OK && second.has(warped);
    }

    Random random{seed()};
    Size size, smaller{size.width - 2, size.height - 4};
    Bytes source = random.content(size.bytes(VANTOR_NV12));
    vantor_grid grid = gridOf(random, Grid::Strong);
    Picture src{VANTOR_NV12, size};
    Bytes scaled = deviceScale(source, size, smaller, false), warped = deviceWarp(source, size, grid, false);
};

constexpr Size kSizes[][2] = {
    {{1, 1}, {1, 1}},         {{2, 2}, {2, 2}},        {{96, 60}, {32, 20}},     {{128, 96}, {64, 48}},
    {{64, 48}, {150, 110}},   {{64, 48}, {128, 24}},   {{64, 48}, {32, 96}},     {{90, 50}, {90, 32}},
    {{90, 50}, {46, 50}},     {{1, 9}, {1, 4}},        {{2, 10}, {2, 4}},        {{2, 7}, {1, 3}},
    {{3, 9}, {2, 5}},         {{1, 1}, {40, 30}},      {{2, 2}, {64, 36}},       {{4, 4}, {2, 2}},
    {{201, 55}, {97, 31}},    {{101, 77}, {208, 154}}, {{16384, 6}, {10000, 4}}, {{300, 6}, {16384, 10}},
    {{16384, 10}, {2, 2}},    {{6, 3000}, {4, 2000}},  {{900, 650}, {640, 512}}, {{200, 150}, {640, 512}},
    {{640, 512}, {640, 512}},
};

TEST(CScale, EqualsTheDeviceInEveryLayout) {
    Random random(seed());
    const Engine engine = engineOf(3);
    for (const auto& [from, to] : kSizes) {
        for (const int format : {VANTOR_GRAY8, VANTOR_NV12, VANTOR_NV21, VANTOR_I420}) {
            if (format != VANTOR_GRAY8 && !(from.isEven() && to.isEven())) continue;
            const Bytes source = random.content(from.bytes(format));
            const Bytes expected = deviceScale(source, from, to, format == VANTOR_GRAY8);
            for (const Layout layout : kLayouts) {
                Picture src(format, from, layout), dst(format, to, layout);
                src.fill(source);
                const auto used = layout == Layout::Packed ? nullptr : engine.get();
                ASSERT_TRUE(vantor_scale(used, &dst.view, &src.view) == VANTOR_OK && dst.has(expected))
                    << "seed " << seed() << ": " << from.width << "x" << from.height << " to " << to.width << "x"
                    << to.height << ", format " << format << ", layout " << int(layout);
            }
        }
    }
}

constexpr Size kWarpSizes[] = {{1, 1}, {2, 2}, {37, 51}, {96, 64}, {97, 63}, {200, 130}, {34, 300}, {320, 240}};

TEST(CWarp, EqualsTheDeviceInEveryLayoutAndPart) {
    Random random(seed());
    const Engine engine = engineOf(3);
    for (int i = 0; i < 8 * 4 * 4 && !HasFatalFailure(); ++i) {
        const Size size = kWarpSizes[i / 16];
        const int format = i % 4;
        const bool isGray = format == VANTOR_GRAY8;
        if (!isGray && !size.isEven()) continue;
        const Grid kind{i / 4 % 4};
        const vantor_grid grid = gridOf(random, kind);
        const Bytes source = random.content(size.bytes(format)), expected = deviceWarp(source, size, grid, isGray);
        EXPECT_TRUE(kind != Grid::Zero || expected == source);
        for (const Layout layout : kLayouts) {
            SCOPED_TRACE(testing::Message() << "seed " << seed() << ", run " << i << ", layout " << int(layout));
            Picture src(format, size, layout), dst(format, size, layout);
            src.fill(source);
            const auto used = layout == Layout::Packed ? nullptr : engine.get();
            const vantor_rect part = partOf(random, size, isGray ? 1 : 2);
            Bytes cut(expected.size(), kCanary);
            forPart(size, part, isGray, [&](size_t at, int, int, int) { cut[at] = expected[at]; });
            ASSERT_EQ(VANTOR_OK, vantor_warp_part(used, &dst.view, &src.view, &grid, &part));
            ASSERT_TRUE(dst.has(cut));
            ASSERT_EQ(VANTOR_OK, vantor_warp(used, &dst.view, &src.view, &grid));
            ASSERT_TRUE(dst.has(expected));
        }
    }
}

TEST(CLayouts, PlanesMaySpanMoreThan31BitsOfBytes) {
    if (sizeof(void*) == 4) GTEST_SKIP() << "no such planes on 32-bit targets";
    Random random(seed());
    constexpr Size size{96, 4200}, smaller{64, 4190};  // 2100 rows of chroma
    const Bytes source = random.content(size.bytes(VANTOR_NV12));
    const vantor_grid grid = gridOf(random, Grid::Strong);
    Picture src(VANTOR_NV12, size, Layout::Wide), dst(VANTOR_NV12, size, Layout::Wide);
    Picture scaled(VANTOR_NV12, smaller, Layout::Wide);
    src.fill(source);
    EXPECT_EQ(VANTOR_OK, vantor_warp(nullptr, &dst.view, &src.view, &grid));
    EXPECT_TRUE(dst.has(deviceWarp(source, size, grid, false)));
    EXPECT_EQ(VANTOR_OK, vantor_scale(nullptr, &scaled.view, &src.view));
    EXPECT_TRUE(scaled.has(deviceScale(source, size, smaller, false)));
}

TEST(CLayouts, ViewsOfOneBufferMayLieSideBySideButNotOverlap) {
    Random random(seed());
    const Bytes content = random.content(200 * 64);
    struct Case {
        ptrdiff_t src, dst, stride;
        bool isRight = true;
    };
    // Beside, below and between each other; then with a column, a byte or all in common.
    for (const Case& at :
         {Case{0, 100, 200}, Case{100, 0, 200}, Case{7, 6407, 200}, Case{0, 200, 400}, Case{0, 99, 200, false},
          Case{99, 0, 200, false}, Case{0, 6299, 200, false}, Case{6299, 0, 200, false}, Case{0, 0, 200, false}}) {
        Bytes buffer = content, expected = content;
        const vantor_image src{VANTOR_GRAY8, 100, 32, {buffer.data() + at.src}, {at.stride}};
        const vantor_image dst{VANTOR_GRAY8, 100, 32, {buffer.data() + at.dst}, {at.stride}};
        for (int y = 0; y < 32 && at.isRight; ++y)
            std::copy_n(&content[size_t(at.src + y * at.stride)], 100, &expected[size_t(at.dst + y * at.stride)]);
        EXPECT_EQ(vantor_scale(nullptr, &dst, &src), at.isRight ? VANTOR_OK : VANTOR_INVALID);
        EXPECT_EQ(buffer, expected) << at.src << ", " << at.dst << ", " << at.stride;
    }
}

int backwards(void*, vantor_task* task, void* job, int count) {
    for (int i = count; i-- > 0;) task(job, i);
    return 0;
}
int atOnce(void* calls, vantor_task* task, void* job, int count) {
    *static_cast<int*>(calls) += count > 1 && count <= 5;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(task, job, i);
    for (std::thread& thread : threads) thread.join();
    return 0;
}
int refused(void*, vantor_task*, void*, int) { return 1; }

TEST(CThreads, AnyNumberAndAnyRunnerGivesTheSameBytes) {
    const Work work(kSide);
    EXPECT_TRUE(work.isRight(nullptr));
    for (const int threads : {0, 1, 2, 3, 7, 64, 256}) {
        const Engine engine = engineOf(threads);
        EXPECT_TRUE(threads == 0 || vantor_engine_threads(engine.get()) == threads);
        EXPECT_TRUE(work.isRight(engine.get()) && work.isRight(engine.get())) << threads;
    }
    int calls = 0;
    for (vantor_runner* const run : {backwards, atOnce, refused}) {
        const Engine engine(vantor_engine_new_with_runner(run, &calls, 5), vantor_engine_free);
        EXPECT_TRUE(work.isRight(engine.get()));
    }
    EXPECT_EQ(calls, 2);
}

TEST(CThreads, ManyEnginesWorkSideBySide) {
    const Work work(540);
    std::vector<std::thread> callers;
    std::atomic<int> wrong{0};
    for (int i = 0; i < 8; ++i) {
        callers.emplace_back([&, i] {
            for (int round = 0; round < kRounds; ++round) {
                const Engine engine = engineOf(i % 4 + 1);
                for (int call = 0; call < 4; ++call) wrong += !work.isRight(i == 7 ? nullptr : engine.get());
            }
        });
    }
    for (std::thread& caller : callers) caller.join();
    EXPECT_EQ(wrong, 0);
}

long threadsAlive() { return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}); }

double cpuSeconds() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

TEST(CThreads, StartWithWorkBlockSignalsSleepBetweenCallsAndEndWithTheEngine) {
    const Work work(kSide);
    const long alive = threadsAlive();
    const int made = threadsMade;
    Engine engine = engineOf(4);
    threadsFail = true;  // the others do their share
    EXPECT_TRUE(work.isRight(engine.get()));
    EXPECT_EQ(threadsMade, made);
    threadsFail = false;
    EXPECT_TRUE(work.isRight(engine.get()) && work.isRight(engine.get()));
#ifndef VANTOR_SANITIZED
    EXPECT_EQ(threadsMade, made + 3);
#endif
    EXPECT_EQ(signalsOpen, 0);
    const double start = cpuSeconds();
    usleep(300000);
    EXPECT_LT(cpuSeconds() - start, 0.02);
    engine.reset();
    for (int i = 0; i < 1000 && threadsAlive() > alive; ++i) usleep(10000);  // the system lists them a little longer
    EXPECT_LE(threadsAlive(), alive);
}

TEST(CThreads, AnEngineWorksOnBothSidesOfAFork) {
#if defined(__SANITIZE_THREAD__) || defined(VANTOR_EMULATED)
    GTEST_SKIP() << "qemu and the thread sanitizer let no child of a process with threads have threads";
#endif
    const Work work(540);
    Engine used = engineOf(3), unused = engineOf(3);
    for (int i = 0; i < kRounds; ++i) {
        EXPECT_TRUE(work.isRight(used.get()));
        const pid_t child = fork();  // while threads spin or fall asleep
        if (child == 0) {
            alarm(60);
            if (i % 3 == 0) used.reset();
            const bool isRight = (!used || work.isRight(used.get())) && work.isRight(unused.get());
            used.reset(), unused.reset();
            _exit(isRight ? 0 : 1);
        }
        EXPECT_TRUE(work.isRight(used.get()));
        int status = -1;
        EXPECT_EQ(waitpid(child, &status, 0), child);
        ASSERT_EQ(status, 0);
    }
}

TEST(CCalls, LeaveTheCallersEnvironmentAlone) {
    const Work work(540);
    const Engine engine = engineOf(2);
    sigset_t mask{}, after{};
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        std::feraiseexcept(FE_DIVBYZERO);
        std::fesetround(mode);
        errno = 77;
        const bool isRight = work.isRight(engine.get());
        const int failed = vantor_scale(engine.get(), nullptr, nullptr);
        const int error = errno, roundedBy = std::fegetround(), raised = std::fetestexcept(FE_ALL_EXCEPT);
        std::fesetenv(FE_DFL_ENV);
        EXPECT_TRUE(isRight && failed == VANTOR_INVALID);
        EXPECT_TRUE(error == 77 && roundedBy == mode && raised == FE_DIVBYZERO) << error << " " << raised;
    }
    pthread_sigmask(SIG_SETMASK, nullptr, &after);
    EXPECT_EQ(0, std::memcmp(&mask, &after, sizeof mask));
}

/// Arguments of vantor_scale and vantor_warp_part, right ones of 128x96.
struct Call {
    vantor_image dst, src;
    vantor_rect part{8, 0, 8, 8};

    int make(vantor_engine* engine, bool isWarp) const {
        static const vantor_grid grid{};
        return isWarp ? vantor_warp_part(engine, &dst, &src, &grid, &part) : vantor_scale(engine, &dst, &src);
    }
};

struct WrongCall {
    const char* message;
    void (*change)(Call& call);
    bool isScale = true, isWarp = true;
};

const WrongCall kWrongCalls[] = {
    {"dst: format 4, expected 0 to 3", [](Call& c) { c.dst.format = 4; }},
    {"src: format -1, expected 0 to 3", [](Call& c) { c.src.format = -1; }},
    {"src: format 0, expected that of dst, 1", [](Call& c) { c.src.format = VANTOR_GRAY8; }},
    {"dst: width 0, expected 2 to 16384", [](Call& c) { c.dst.width = 0; }, true, false},
    {"src: height 16386, expected 2 to 16384", [](Call& c) { c.src.height = 16386; }, true, false},
    {"src: width -2147483648, expected 2 to 8192", [](Call& c) { c.src.width = INT32_MIN; }, false},
    {"dst: height 6146, expected 2 to 6144", [](Call& c) { c.dst.height = 6146; }, false},
    {"dst: width 127, expected an even number, as chroma has half of it", [](Call& c) { c.dst.width = 127; }},
    {"src: plane[0] is null", [](Call& c) { c.src.plane[0] = nullptr; }},
    {"dst: plane[1] is null", [](Call& c) { c.dst.plane[1] = nullptr; }},
    {"src: stride[0] 127, expected at least 128", [](Call& c) { c.src.stride[0] = 127; }},
    {"dst: stride[1] -128, expected at least 128", [](Call& c) { c.dst.stride[1] = -128; }},
#if UINTPTR_MAX > UINT32_MAX
    {"src: stride[1] 9223372036854775807, with 48 rows beyond the end of memory",
     [](Call& c) { c.src.stride[1] = PTRDIFF_MAX; }},
#endif
    {"dst: plane[1] overlaps plane[0]", [](Call& c) { c.dst.plane[1] = c.dst.plane[0] + 95 * 128 + 127; }},
    {"dst: plane[0] overlaps plane[1] of src", [](Call& c) { c.src.plane[1] = c.dst.plane[0] - 48 * 128 + 1; }},
    {"src: 126x96, expected the size of dst, 128x96", [](Call& c) { c.src.width = 126; }, false},
    {"part: x 127, expected 0 to 126", [](Call& c) { c.part.x = 127; }, false},
    {"part: y -2, expected 0 to 94", [](Call& c) { c.part.y = -2; }, false},
    {"part: width 122, expected 2 to 120", [](Call& c) { c.part.width = 122; }, false},
    {"part: height 0, expected 2 to 96", [](Call& c) { c.part.height = 0; }, false},
    {"part: x 7 and width 8, expected even numbers, as chroma has half of them", [](Call& c) { c.part.x = 7; }, false},
};

TEST(CErrors, SayWhatIsWrongAndWriteNothing) {
    const Engine engine = engineOf(2), other = engineOf(1);
    vantor_engine* const engines[] = {engine.get(), nullptr};
    Picture dst(VANTOR_NV12, {128, 96}), src(VANTOR_NV12, {128, 96});
    const Bytes untouched = dst.bytes();
    EXPECT_STREQ(vantor_message(engine.get()), "");
    for (const WrongCall& wrong : kWrongCalls) {
        for (int i = 0; i < 4; ++i) {
            if (!(i % 2 ? wrong.isWarp : wrong.isScale)) continue;
            Call call{dst.view, src.view};
            wrong.change(call);
            EXPECT_EQ(VANTOR_INVALID, call.make(engines[i / 2], i % 2));
            EXPECT_STREQ(vantor_message(engines[i / 2]), wrong.message);
        }
        EXPECT_TRUE(dst.has(untouched)) << wrong.message;
    }
    const vantor_grid grid{};
    const auto expectMessage = [](bool isFailure, const char* message) {
        EXPECT_TRUE(isFailure) << message;
        EXPECT_STREQ(vantor_message(nullptr), message);
    };
    const vantor_rect part{};
    expectMessage(vantor_scale(nullptr, &dst.view, nullptr) == VANTOR_INVALID, "src is null");
    expectMessage(vantor_warp(nullptr, nullptr, &src.view, &grid) == VANTOR_INVALID, "dst is null");
    expectMessage(vantor_warp(nullptr, &dst.view, &src.view, nullptr) == VANTOR_INVALID, "grid is null");
    expectMessage(vantor_warp_part(nullptr, nullptr, &src.view, &grid, &part) == VANTOR_INVALID, "dst is null");
    expectMessage(vantor_warp_part(nullptr, &dst.view, &src.view, &grid, nullptr) == VANTOR_INVALID, "part is null");
    expectMessage(!vantor_engine_new(-1), "threads: -1, expected 0 to 256");
    expectMessage(!vantor_engine_new(257), "threads: 257, expected 0 to 256");
    expectMessage(!vantor_engine_new_with_runner(refused, nullptr, 0), "threads: 0, expected 1 to 256");
    expectMessage(!vantor_engine_new_with_runner(nullptr, nullptr, 1), "run is null");
    EXPECT_STREQ(vantor_message(engine.get()), kWrongCalls[std::size(kWrongCalls) - 1].message);
    EXPECT_STREQ(vantor_message(other.get()), "");
    std::thread([] { EXPECT_STREQ(vantor_message(nullptr), ""); }).join();
    EXPECT_EQ(vantor_engine_threads(nullptr), 1);
    vantor_engine_free(nullptr);
}

TEST(CMemory, EveryAllocationMayFailAndRepeatedCallsMakeNone) {
#ifdef VANTOR_SANITIZED
    GTEST_SKIP() << "memory calls are the sanitizer's";
#endif
    const Work work(540);
    Picture scaled(VANTOR_NV12, work.smaller), warped(VANTOR_NV12, work.size);
    const auto begin = [](int first) { allocations = 0, firstFailing = first; };
    for (const bool later : {false, true}) {
        int made = 1, failures = 0;
        for (int first = 1; first <= made; ++first) {
            laterFail = later;
            begin(first);
            Engine engine = engineOf(2);
            const bool isMade = engine != nullptr;
            // Without an engine both calls are the caller's.
            const int statuses[] = {vantor_scale(engine.get(), &scaled.view, &work.src.view),
                                    vantor_warp(engine.get(), &warped.view, &work.src.view, &work.grid)};
            const std::string message = vantor_message(engine.get());
            made = allocations, firstFailing = 0;
            EXPECT_EQ(statuses[0], VANTOR_OK);
            EXPECT_TRUE(statuses[1] == VANTOR_OK || statuses[1] == VANTOR_NO_MEMORY);
            const bool hasFailed = !isMade || statuses[1] != VANTOR_OK;
            failures += hasFailed;
            EXPECT_TRUE(!hasFailed || message == "out of memory");
            if (!isMade) engine = engineOf(2);
            EXPECT_TRUE(work.isRight(engine.get())) << first;
        }
        EXPECT_GE(failures, 3);  // an engine, its threads' records, and memory for a call
    }
    const Engine engine = engineOf(3);
    const vantor_rect part{2, 2, 4, 4};
    EXPECT_EQ(VANTOR_OK, vantor_warp_part(engine.get(), &warped.view, &work.src.view, &work.grid, &part));
    threadsFail = true;  // which would take memory
    begin(0);
    EXPECT_EQ(VANTOR_OK, vantor_warp(engine.get(), &warped.view, &work.src.view, &work.grid));
    EXPECT_EQ(VANTOR_OK, vantor_scale(engine.get(), &scaled.view, &work.src.view));
    EXPECT_EQ(allocations, 0);
    threadsFail = false;
}

}  // namespace
}  // namespace vantor::test
