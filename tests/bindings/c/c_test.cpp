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
std::atomic<int> threadsMade{0};
std::atomic<int> allocations{0};
std::atomic<int> firstFailing{0};  // of the allocations, counted from 1; 0 for none
std::atomic<bool> laterFail{false};

[[maybe_unused]] bool fails() {
    const int number = ++allocations, first = firstFailing;
    return first != 0 && (number == first || (number > first && laterFail));
}

}  // namespace

// Sanitizers have memory and thread calls of their own.
#ifndef VANTOR_SANITIZED
extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* malloc(size_t size) { return fails() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*entry)(void*), void* data) {
    static const auto real = reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (threadsFail) return EAGAIN;
    ++threadsMade;
    return real(thread, attributes, entry, data);
}
}
#endif

namespace vantor::test {
namespace {

static_assert(sizeof(vantor_image) == (sizeof(void*) == 8 ? 64 : 36) && offsetof(vantor_image, plane[0]) % 4 == 0 &&
              sizeof(vantor_grid) == 8712 && offsetof(vantor_grid, dy) == 4356 && sizeof(vantor_rect) == 16);

#if defined(__x86_64__) && !defined(VANTOR_SANITIZED)
constexpr int kSide = 2048;
constexpr int kRounds = 16;
#else
constexpr int kSide = 768;  // emulated, or slow
constexpr int kRounds = 6;
#endif
constexpr Layout kLayouts[] = {Layout::Packed, Layout::Padded, Layout::FlushLeft, Layout::FlushRight};

using Engine = std::unique_ptr<vantor_engine, decltype(&vantor_engine_free)>;
Engine engineOf(int threads) { return {vantor_engine_new(threads), vantor_engine_free}; }

/// Both kinds of work on one source, and the device's bytes.
struct Work {
    explicit Work(int side)
        : random(seed()),
          source(random.content(size_t(side) * size_t(side) * 3 / 2)),
          grid(gridOf(random, Grid::Strong)),
          src(VANTOR_NV12, side, side, Layout::Packed),
          scaled(deviceScale(source, {side, side}, {side - 2, side - 4}, false)),
          warped(deviceWarp(source, {side, side}, grid, false)) {
        src.fill(source);
    }
    /// Every call of an engine gives the device's bytes. Reports nothing, for threads and forked processes.
    bool isRight(vantor_engine* engine) const {
        const int side = src.view.width;
        Picture smaller(VANTOR_NV12, side - 2, side - 4, Layout::Packed), same(VANTOR_NV12, side, side, Layout::Packed);
        return vantor_scale(engine, &smaller.view, &src.view) == VANTOR_OK && smaller.bytes() == scaled &&
               vantor_warp(engine, &same.view, &src.view, &grid) == VANTOR_OK && same.bytes() == warped;
    }

    Random random;
    Bytes source;
    vantor_grid grid;
    Picture src;
    Bytes scaled, warped;
};

struct SizePair {
    Size from, to;
};

constexpr SizePair kSizes[] = {
    {{1, 1}, {1, 1}},         {{2, 2}, {2, 2}},        {{96, 60}, {32, 20}},     {{128, 96}, {64, 48}},
    {{64, 48}, {150, 110}},   {{64, 48}, {128, 24}},   {{64, 48}, {32, 96}},     {{90, 50}, {90, 32}},
    {{90, 50}, {46, 50}},     {{1, 9}, {1, 4}},        {{2, 10}, {2, 4}},        {{2, 7}, {1, 3}},
    {{3, 9}, {2, 5}},         {{1, 1}, {40, 30}},      {{2, 2}, {64, 36}},       {{4, 4}, {2, 2}},
    {{201, 55}, {97, 31}},    {{101, 77}, {208, 154}}, {{16384, 6}, {10000, 4}}, {{300, 6}, {16384, 10}},
    {{16384, 10}, {2, 2}},    {{6, 9000}, {4, 6000}},  {{700, 500}, {512, 384}}, {{200, 150}, {512, 384}},
    {{512, 384}, {512, 384}},
};

TEST(CScale, EqualsTheDeviceInEveryLayout) {
    Random random(seed());
    const Engine engine = engineOf(3);
    for (const auto& [from, to] : kSizes) {
        for (const int format : {VANTOR_GRAY8, VANTOR_NV12, VANTOR_NV21}) {
            if (format != VANTOR_GRAY8 && !(from.isEven() && to.isEven())) continue;
            const Bytes source = random.content(from.bytes(format));
            const Bytes expected = deviceScale(source, from, to, format == VANTOR_GRAY8);
            for (const Layout layout : kLayouts) {
                Picture src(format, from.width, from.height, layout), dst(format, to.width, to.height, layout);
                src.fill(source);
                ASSERT_EQ(VANTOR_OK,
                          vantor_scale(layout == Layout::Packed ? nullptr : engine.get(), &dst.view, &src.view));
                ASSERT_TRUE(dst.bytes() == expected && dst.areGapsIntact())
                    << "seed " << seed() << ": " << from.width << "x" << from.height << " to " << to.width << "x"
                    << to.height << ", format " << format << ", layout " << int(layout);
            }
        }
    }
}

TEST(CWarp, EqualsTheDeviceInEveryLayoutAndPart) {
    Random random(seed());
    const Engine engine = engineOf(3);
    for (const Size size : {Size{1, 1}, Size{2, 2}, Size{37, 51}, Size{96, 64}, Size{97, 63}, Size{200, 130},
                            Size{34, 900}, Size{640, 360}}) {
        for (const Grid kind : {Grid::Zero, Grid::Mild, Grid::Strong, Grid::Wild}) {
            for (const int format : {VANTOR_GRAY8, VANTOR_NV12, VANTOR_NV21, VANTOR_I420}) {
                if (format != VANTOR_GRAY8 && !size.isEven()) continue;
                const bool isGray = format == VANTOR_GRAY8;
                const vantor_grid grid = gridOf(random, kind);
                const Bytes source = random.content(size.bytes(format));
                const Bytes expected = deviceWarp(source, size, grid, isGray);
                EXPECT_TRUE(kind != Grid::Zero || expected == source);
                for (const Layout layout : kLayouts) {
                    SCOPED_TRACE(testing::Message()
                                 << "seed " << seed() << ": " << size.width << "x" << size.height << ", grid "
                                 << int(kind) << ", format " << format << ", layout " << int(layout));
                    Picture src(format, size.width, size.height, layout), dst(format, size.width, size.height, layout);
                    src.fill(source);
                    vantor_engine* const used = layout == Layout::Packed ? nullptr : engine.get();
                    const vantor_rect part = partOf(random, size, isGray ? 1 : 2);
                    Bytes cut(expected.size(), kCanary);
                    forPart(size, part, isGray, [&](size_t i) { cut[i] = expected[i]; });
                    ASSERT_EQ(VANTOR_OK, vantor_warp_part(used, &dst.view, &src.view, &grid, &part));
                    ASSERT_TRUE(dst.bytes() == cut && dst.areGapsIntact());
                    ASSERT_EQ(VANTOR_OK, vantor_warp(used, &dst.view, &src.view, &grid));
                    ASSERT_TRUE(dst.bytes() == expected && dst.areGapsIntact());
                }
            }
        }
    }
}

TEST(CLayouts, PlanesMaySpanMoreThan31BitsOfBytes) {
    if (sizeof(void*) == 4) GTEST_SKIP() << "no such planes on 32-bit targets";
    Random random(seed());
    constexpr Size size{96, 4200}, smaller{64, 4190};  // 2100 rows of chroma, 1 MB apart
    const Bytes source = random.content(size.bytes(VANTOR_NV12));
    const vantor_grid grid = gridOf(random, Grid::Strong);
    Picture src(VANTOR_NV12, size.width, size.height, Layout::Wide),
        dst(VANTOR_NV12, size.width, size.height, Layout::Wide),
        scaled(VANTOR_NV12, smaller.width, smaller.height, Layout::Wide);
    src.fill(source);
    ASSERT_EQ(VANTOR_OK, vantor_warp(nullptr, &dst.view, &src.view, &grid));
    EXPECT_TRUE(dst.bytes() == deviceWarp(source, size, grid, false) && dst.areGapsIntact());
    ASSERT_EQ(VANTOR_OK, vantor_scale(nullptr, &scaled.view, &src.view));
    EXPECT_TRUE(scaled.bytes() == deviceScale(source, size, smaller, false) && scaled.areGapsIntact());
}

TEST(CLayouts, ViewsOfOneBufferMayLieSideBySideButNotOverlap) {
    Random random(seed());
    const Bytes content = random.content(200 * 64);
    const vantor_grid grid = gridOf(random, Grid::Zero);
    struct Case {
        ptrdiff_t src, dst, stride;
        int status;
    };
    for (const Case& at : {Case{0, 100, 200, VANTOR_OK},      // left and right
                           Case{100, 0, 200, VANTOR_OK},      // as above
                           Case{7, 6407, 200, VANTOR_OK},     // above and below
                           Case{0, 200, 400, VANTOR_OK},      // every second row
                           Case{0, 100, 201, VANTOR_OK},      // rows of one end where rows of the other begin
                           Case{0, 99, 200, VANTOR_INVALID},  // a column in common
                           Case{99, 0, 200, VANTOR_INVALID},  //
                           Case{0, 31 * 200 + 99, 200, VANTOR_INVALID},  // the last byte
                           Case{31 * 200 + 99, 0, 200, VANTOR_INVALID},  //
                           Case{0, 0, 200, VANTOR_INVALID}}) {
        for (const bool isWarp : {false, true}) {
            Bytes buffer = content;
            const vantor_image src{VANTOR_GRAY8, 100, 32, {buffer.data() + at.src}, {at.stride}};
            const vantor_image dst{VANTOR_GRAY8, 100, 32, {buffer.data() + at.dst}, {at.stride}};
            Bytes expected = content;
            for (int y = 0; y < 32 && at.status == VANTOR_OK; ++y)
                std::copy_n(&content[size_t(at.src + y * at.stride)], 100, &expected[size_t(at.dst + y * at.stride)]);
            EXPECT_EQ(at.status, isWarp ? vantor_warp(nullptr, &dst, &src, &grid) : vantor_scale(nullptr, &dst, &src));
            EXPECT_EQ(buffer, expected) << at.src << ", " << at.dst << ", " << at.stride;
        }
    }
}

int backwards(void* calls, vantor_task* task, void* job, int count) {
    ++*static_cast<int*>(calls);
    for (int i = count; i-- > 0;) task(job, i);
    return 0;
}
int atOnce(void* calls, vantor_task* task, void* job, int count) {
    ++*static_cast<int*>(calls);
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) threads.emplace_back(task, job, i);
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(count > 1 && count <= 5);
    return 0;
}
int refused(void* calls, vantor_task*, void*, int) { return ++*static_cast<int*>(calls); }

TEST(CThreads, AnyNumberAndAnyRunnerGivesTheSameBytes) {
    const Work work(kSide);
    EXPECT_TRUE(work.isRight(nullptr));
    for (const int threads : {0, 1, 2, 3, 7, 64, 256}) {
        const Engine engine = engineOf(threads);
        EXPECT_TRUE(threads == 0 || vantor_engine_threads(engine.get()) == threads);
        for (int i = 0; i < 3; ++i) EXPECT_TRUE(work.isRight(engine.get())) << threads;
    }
    for (vantor_runner* const run : {backwards, atOnce, refused}) {
        int calls = 0;
        const Engine engine(vantor_engine_new_with_runner(run, &calls, 5), vantor_engine_free);
        EXPECT_TRUE(work.isRight(engine.get()));
        EXPECT_EQ(calls, 2);
    }
}

TEST(CThreads, ManyEnginesWorkSideBySide) {
    const Work work(540);  // two threads' work at least
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

/// What a line of /proc/self/task/TID/status says of every thread.
std::vector<std::string> threadStates(const std::string& field) {
    std::vector<std::string> values;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);)
            if (line.rfind(field + ":\t", 0) == 0) values.push_back(line.substr(field.size() + 2));
    }
    return values;
}

double cpuSeconds() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

TEST(CThreads, WorkersBlockSignalsSleepBetweenCallsAndEndWithTheEngine) {
    const Work work(kSide);
    const size_t before = threadStates("SigBlk").size();
    Engine engine = engineOf(4);
    EXPECT_EQ(threadStates("SigBlk").size(), before) << "threads without work";
    EXPECT_TRUE(work.isRight(engine.get()));
    const std::vector<std::string> blocked = threadStates("SigBlk");
    EXPECT_EQ(blocked.size(), before + 3);
    const auto blocksAll = [](const std::string& mask) { return mask.substr(4) == "fffe7ffbfeff"; };
#if defined(__x86_64__) || defined(__SANITIZE_THREAD__)
    // All but SIGKILL, SIGSTOP and the C library's own two.
    EXPECT_EQ(std::count_if(blocked.begin(), blocked.end(), blocksAll), 3) << blocked.back();
#endif
    const double start = cpuSeconds();
    usleep(300000);
    EXPECT_LT(cpuSeconds() - start, 0.02);
    engine.reset();
    EXPECT_EQ(threadStates("SigBlk").size(), before);
}

TEST(CThreads, OnesThatCannotBeStartedLeaveTheirShareToTheOthers) {
#ifdef VANTOR_SANITIZED
    GTEST_SKIP() << "thread calls are the sanitizer's";
#endif
    const Work work(kSide);
    const Engine engine = engineOf(4);
    const int before = threadsMade;
    threadsFail = true;
    EXPECT_TRUE(work.isRight(engine.get()));
    threadsFail = false;
    EXPECT_EQ(threadsMade, before);
    EXPECT_TRUE(work.isRight(engine.get()));
    EXPECT_EQ(threadsMade, before + 3);
}

TEST(CThreads, AnEngineWorksOnBothSidesOfAFork) {
#ifdef __SANITIZE_THREAD__
    GTEST_SKIP() << "the thread sanitizer lets no child of a process with threads have threads";
#endif
    const Work work(420);
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
    const Work work(420);
    const Engine engine = engineOf(2);
    sigset_t mask, after;
    sigemptyset(&mask), sigaddset(&mask, SIGUSR1);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
    for (const int mode : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO}) {
        std::feclearexcept(FE_ALL_EXCEPT);
        std::feraiseexcept(FE_DIVBYZERO);
        std::fesetround(mode);
        errno = 77;
        const bool isRight = work.isRight(engine.get());
        const int failed = vantor_scale(engine.get(), nullptr, nullptr);
        const int error = errno, roundedBy = std::fegetround(), raised = std::fetestexcept(FE_ALL_EXCEPT);
        std::fesetenv(FE_DFL_ENV);
        pthread_sigmask(SIG_SETMASK, nullptr, &after);
        EXPECT_TRUE(isRight && failed == VANTOR_INVALID);
        EXPECT_TRUE(error == 77 && roundedBy == mode && raised == FE_DIVBYZERO)
            << error << " " << roundedBy << " " << raised;
        EXPECT_TRUE(sigismember(&after, SIGUSR1) == 1 && sigismember(&after, SIGUSR2) == 0);
    }
    sigemptyset(&mask);
    pthread_sigmask(SIG_SETMASK, &mask, nullptr);
}

/// The arguments of a call.
struct Arguments {
    vantor_image dst, src;
    vantor_rect part;
    const vantor_image* dstGiven;
    const vantor_image* srcGiven;
    const vantor_grid* gridGiven;
    const vantor_rect* partGiven;
};

struct WrongCall {
    const char* message;
    void (*change)(Arguments& call);
    bool isScale = true, isWarp = true;
};

const WrongCall kWrongCalls[] = {
    {"dst is null", [](Arguments& a) { a.dstGiven = nullptr; }},
    {"src is null", [](Arguments& a) { a.srcGiven = nullptr; }},
    {"grid is null", [](Arguments& a) { a.gridGiven = nullptr; }, false},
    {"part is null", [](Arguments& a) { a.partGiven = nullptr; }, false},
    {"dst: format 4, expected 0 to 3", [](Arguments& a) { a.dst.format = 4; }},
    {"src: format -1, expected 0 to 3", [](Arguments& a) { a.src.format = -1; }},
    {"src: format 0, expected that of dst, 1", [](Arguments& a) { a.src.format = VANTOR_GRAY8; }},
    {"dst: width 0, expected 2 to 16384", [](Arguments& a) { a.dst.width = 0; }, true, false},
    {"src: height 16386, expected 2 to 16384", [](Arguments& a) { a.src.height = 16386; }, true, false},
    {"src: width -2147483648, expected 2 to 8192", [](Arguments& a) { a.src.width = INT32_MIN; }, false},
    {"dst: height 6146, expected 2 to 6144", [](Arguments& a) { a.dst.height = 6146; }, false},
    {"dst: width 127, expected an even number, as chroma has half of it", [](Arguments& a) { a.dst.width = 127; }},
    {"src: plane[0] is null", [](Arguments& a) { a.src.plane[0] = nullptr; }},
    {"dst: plane[1] is null", [](Arguments& a) { a.dst.plane[1] = nullptr; }},
    {"src: stride[0] 127, expected at least 128", [](Arguments& a) { a.src.stride[0] = 127; }},
    {"dst: stride[1] -128, expected at least 128", [](Arguments& a) { a.dst.stride[1] = -128; }},
    {"dst: plane[1] overlaps plane[0]", [](Arguments& a) { a.dst.plane[1] = a.dst.plane[0] + 95 * 128 + 127; }},
    {"dst: plane[0] overlaps plane[1] of src", [](Arguments& a) { a.src.plane[1] = a.dst.plane[0] - 48 * 128 + 1; }},
    {"src: 126x96, expected the size of dst, 128x96", [](Arguments& a) { a.src.width = 126; }, false},
    {"part: x 128, expected 0 to 126", [](Arguments& a) { a.part.x = 128; }, false},
    {"part: y -2, expected 0 to 94", [](Arguments& a) { a.part.y = -2; }, false},
    {"part: width 122, expected 2 to 120", [](Arguments& a) { a.part.width = 122; }, false},
    {"part: height 0, expected 2 to 96", [](Arguments& a) { a.part.height = 0; }, false},
    {"part: x 7 and width 8, expected even numbers, as chroma has half of them", [](Arguments& a) { a.part.x = 127; },
     false},
    {"part: y 0 and height 3, expected even numbers, as chroma has half of them",
     [](Arguments& a) { a.part.height = 3; }, false},
};

TEST(CErrors, SayWhatIsWrongAndWriteNothing) {
    const Engine engine = engineOf(2), other = engineOf(1);
    const vantor_grid grid{};
    Picture dst(VANTOR_NV12, 128, 96, Layout::Packed), src(VANTOR_NV12, 128, 96, Layout::Packed);
    const Bytes untouched = dst.bytes();
    EXPECT_STREQ(vantor_message(engine.get()), "");
    for (const WrongCall& wrong : kWrongCalls) {
        Arguments a{dst.view, src.view, {8, 0, 8, 8}, nullptr, nullptr, &grid, nullptr};
        a.dstGiven = &a.dst, a.srcGiven = &a.src, a.partGiven = &a.part;
        wrong.change(a);
        for (vantor_engine* const used : {engine.get(), static_cast<vantor_engine*>(nullptr)}) {
            for (const bool isWarp : {false, true}) {
                if (!(isWarp ? wrong.isWarp : wrong.isScale)) continue;
                EXPECT_EQ(VANTOR_INVALID, isWarp
                                              ? vantor_warp_part(used, a.dstGiven, a.srcGiven, a.gridGiven, a.partGiven)
                                              : vantor_scale(used, a.dstGiven, a.srcGiven));
                EXPECT_STREQ(vantor_message(used), wrong.message);
            }
        }
        EXPECT_TRUE(dst.bytes() == untouched) << wrong.message;
    }
    const auto message = [](const vantor_engine* made) {
        EXPECT_EQ(made, nullptr);
        return std::string(vantor_message(nullptr));
    };
    EXPECT_EQ(message(vantor_engine_new(-1)), "threads: -1, expected 0 to 256");
    EXPECT_EQ(message(vantor_engine_new(257)), "threads: 257, expected 0 to 256");
    EXPECT_EQ(message(vantor_engine_new_with_runner(refused, nullptr, 0)), "threads: 0, expected 1 to 256");
    EXPECT_EQ(message(vantor_engine_new_with_runner(nullptr, nullptr, 1)), "run is null");
    EXPECT_EQ(VANTOR_INVALID, vantor_warp(engine.get(), nullptr, &src.view, &grid));
    EXPECT_STREQ(vantor_message(engine.get()), "dst is null");
    EXPECT_STREQ(vantor_message(nullptr), "run is null");
    EXPECT_STREQ(vantor_message(other.get()), "");
    std::thread([] { EXPECT_STREQ(vantor_message(nullptr), ""); }).join();
    EXPECT_TRUE(vantor_engine_threads(nullptr) == 1 && std::string(vantor_version()).find('.') == 1);
    vantor_engine_free(nullptr);
}

TEST(CMemory, EveryAllocationMayFailAndRepeatedCallsMakeNone) {
#ifdef VANTOR_SANITIZED
    GTEST_SKIP() << "memory calls are the sanitizer's";
#endif
    const Work work(420);
    Picture scaled(VANTOR_NV12, 418, 416, Layout::Packed), warped(VANTOR_NV12, 420, 420, Layout::Packed);
    const Bytes untouched = warped.bytes();
    const auto begin = [](int first) { allocations = 0, firstFailing = first; };
    const auto end = [] { return firstFailing = 0, allocations.load(); };
    const auto check = [](const vantor_engine* engine, int status) {
        if (status == VANTOR_OK) return;
        EXPECT_EQ(status, VANTOR_NO_MEMORY);
        EXPECT_STREQ(vantor_message(engine), "out of memory");
    };
    for (const bool later : {false, true}) {
        laterFail = later;
        int made = 0, statuses = 0;
        for (int first = 1; first == 1 || made >= first; ++first) {
            begin(first);
            Engine engine = engineOf(2);
            int status = VANTOR_OK, alone = VANTOR_OK;
            if (engine) {
                check(engine.get(), vantor_scale(engine.get(), &scaled.view, &work.src.view));
                status = vantor_warp(engine.get(), &warped.view, &work.src.view, &work.grid);
                alone = vantor_warp(nullptr, &warped.view, &work.src.view, &work.grid);
            } else {
                check(nullptr, VANTOR_NO_MEMORY);
            }
            made = end();
            check(engine.get(), status), check(nullptr, alone);
            statuses += !engine + (status != VANTOR_OK) + (alone != VANTOR_OK);
            if (!engine) engine = engineOf(2);
            EXPECT_TRUE(work.isRight(engine.get()));
        }
        EXPECT_GE(statuses, 3);  // an engine, its memory, and memory for one call
    }
    const Engine engine = engineOf(3);
    const vantor_rect part{2, 2, 4, 4};
    EXPECT_EQ(VANTOR_OK, vantor_warp_part(engine.get(), &warped.view, &work.src.view, &work.grid, &part));
    begin(0);
    EXPECT_EQ(VANTOR_OK, vantor_warp(engine.get(), &warped.view, &work.src.view, &work.grid));
    EXPECT_EQ(VANTOR_OK, vantor_scale(engine.get(), &scaled.view, &work.src.view));
    EXPECT_EQ(end(), 0);
}

}  // namespace
}  // namespace vantor::test
