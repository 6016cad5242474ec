// The service requests call by call. The program replaces every platform call that the library makes, records
// it, and lets any one fail; a walker predicts the calls and log lines that follow.
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <hidl/Status.h>
#include <ion/ion.h>
#include <sys/time.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include "tests/support.h"

namespace {

using android::sp;
using android::hardware::hidl_handle;
using android::hardware::Return;
using hardware::vantorClient;
using vendor::norlake::hardware::vantorService::V1_0::GdcGrid;
using vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;
using vendor::norlake::hardware::vantorService::V1_0::IVantorService;
using Token = sp<android::hidl::base::V1_0::IBase>;
using Events = std::vector<std::string>;

bool isRecording = false;
Events events;
int device = -1;              // what ion_open gave
std::vector<int> buffers;     // descriptors that ion gave
std::vector<void*> mappings;  // in order
std::string failingCall;
int failingTurn = 0;  // counted from 1
std::map<std::string, int> turns;

/// Records a call and returns whether it is to fail.
bool record(const std::string& call, const std::string& argument = "") {
    events.push_back(argument.empty() ? call : call + " " + argument);
    return ++turns[call] == failingTurn && call == failingCall;
}

template <typename Function>
Function* real(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {
int __android_log_print(int priority, const char*, const char* format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    events.push_back("log " + std::to_string(priority) + " " + text);
    return 1;
}
int ion_open() { return device = record("ion_open") ? -1 : open("/dev/null", O_RDONLY); }
int ion_close(int fd) { return record("ion_close") ? -9 : real<int(int)>("ion_close")(fd); }
int ion_alloc_fd(int, size_t length, size_t align, unsigned heap, unsigned flags, int* fd) {
    EXPECT_TRUE(align == 4096 && heap == 1 && flags == 3);
    if (record("ion_alloc_fd", std::to_string(length))) return -12;
    *fd = memfd_create("buffer", 0);
    buffers.push_back(*fd);
    const std::vector<char> old(65536, '\xAA');  // not zeros, so that what the library clears shows
    return write(*fd, old.data(), old.size()) == 65536 ? 0 : -5;
}
void* mmap(void* hint, size_t length, int protection, int flags, int fd, off_t offset) noexcept {
    static const auto call = real<void*(void*, size_t, int, int, int, off_t)>("mmap");
    if (!isRecording || fd < 0) return call(hint, length, protection, flags, fd, offset);
    EXPECT_TRUE(hint == nullptr && protection == 3 && flags == 1 && offset == 0 && fd == buffers.back());
    mappings.push_back(record("mmap", std::to_string(length)) ? MAP_FAILED
                                                              : call(hint, length, protection, flags, fd, offset));
    return mappings.back();
}
int munmap(void* address, size_t length) noexcept {
    static const auto call = real<int(void*, size_t)>("munmap");
    if (!isRecording) return call(address, length);
    return record("munmap", std::to_string(length)) ? -1 : call(address, length);
}
int close(int fd) {
    static const auto call = real<int(int)>("close");
    if (isRecording) record("close", std::to_string(fd));
    return call(fd);
}
native_handle_t* native_handle_create(int descriptors, int numbers) {
    EXPECT_EQ(numbers, 0);
    static const auto call = real<native_handle_t*(int, int)>("native_handle_create");
    return record("native_handle_create", std::to_string(descriptors)) ? nullptr : call(descriptors, numbers);
}
int native_handle_delete(native_handle_t* handle) {
    static const auto call = real<int(native_handle_t*)>("native_handle_delete");
    return record("native_handle_delete") ? -22 : call(handle);
}
int gettimeofday(timeval* time, void*) noexcept {
    record("gettimeofday");
    *time = {1000 - 2 * turns["gettimeofday"], 1000 * turns["gettimeofday"]};  // runs backwards
    return 0;
}
}

namespace {

/// Size and region of a geometry or a picture.
template <typename Picture>
std::string edges(const Picture& p) {
    std::ostringstream text;
    text << p.width << "x" << p.height << "@" << p.cropLeft << "," << p.cropTop << "-" << p.cropRight << ","
         << p.cropBottom;
    return text.str();
}

/// Shows what it was sent in `events`, and writes 7 to the destination.
class FakeService : public IVantorService {
public:
    Return<int32_t> runCSC(const ImageGeometry& dst, const hidl_handle& to, const ImageGeometry& src,
                           const hidl_handle& from, const Token& client) override {
        return serve(dst, to, src, from, client, "runCSC");
    }
    Return<int32_t> runGDC(const ImageGeometry& dst, const hidl_handle& to, const ImageGeometry& src,
                           const hidl_handle& from, const GdcGrid& grid, const Token& client) override {
        EXPECT_EQ(grid.dX[1][2] * 1000 + grid.dY[32][32], 35 * 1000 + 77);
        return serve(dst, to, src, from, client, "runGDC");
    }

    Token token;
    std::string seen;     // the source's first buffer, a byte every 64th
    char seenChroma = 9;  // the first of its second
    bool isDead = false;

private:
    static std::string describe(const ImageGeometry& g, const hidl_handle& h) {
        std::string text = edges(g);
        for (int i = 0; i < h->numFds; ++i) text += " " + std::to_string(h->data[i]);
        return text;
    }
    Return<int32_t> serve(const ImageGeometry& dst, const hidl_handle& to, const ImageGeometry& src,
                          const hidl_handle& from, const Token& client, const std::string& method) {
        token = client;
        if (isDead) return android::hardware::Status::fromStatusT(android::DEAD_OBJECT);
        if (record("service", method + " " + describe(dst, to) + " from " + describe(src, from))) return 5;
        isRecording = false;
        std::vector<char> bytes(65536);
        seen.clear();
        if (pread(from->data[0], bytes.data(), bytes.size(), 0) > 0) {
            for (int i = 0; i < src.width * src.height * 3 / 2; i += 64) seen += bytes[static_cast<size_t>(i)];
        }
        EXPECT_TRUE(from->numFds == 1 || pread(from->data[1], &seenChroma, 1, 0) >= 0);
        std::fill(bytes.begin(), bytes.end(), 7);
        EXPECT_GE(pwrite(to->data[0], bytes.data(), bytes.size(), 0), 0);
        isRecording = true;
        return 0;
    }
};

struct Picture {
    explicit Picture(int width, int height, char level) : bytes(65536, level) {
        data.y = reinterpret_cast<uint8_t*>(bytes.data());
        data.width = width;
        data.height = height;
        data.cropLeft = 2;
        data.cropTop = 4;
        data.cropRight = width - 1;
        data.cropBottom = height - 3;
    }
    std::vector<char> bytes;
    vantorClient::BufferData data;
};

/// What distinguishes the two requests in their calls and lines.
struct Kind {
    bool isWarp;
    const char* function;
    const char* method;
    const char* start;
    const char* fallback;
    const char* done;
    int lines[12];  // source and destination: pair, gray, allocation, picture, handle, unmapping
    int more[4];    // elapsed, failed, done, fallback
};

constexpr Kind kKinds[] = {{false,
                            "runCSC",
                            "runCSC",
                            "runCSC():421 Process SCALING using CSC",
                            "Error occurs, run SW scaler instead",
                            "SCALING done",
                            {131, 136, 149, 221, 262, 551, 177, 182, 195, 226, 301, 572},
                            {511, 533, 579, 583}},
                           {true,
                            "runGDCHWGrid",
                            "runGDC",
                            "runGDCGrid():1132 Process WARPING using GDC (target=GDC_HW)",
                            "Error occurs, run SW scaler (memcpy) instead",
                            "WARPING done",
                            {629, 634, 648, 741, 786, 940, 693, 698, 712, 746, 841, 963},
                            {894, 920, 970, 973}}};

/// Walks a request as it should go, over the descriptors and mappings that the real one was given.
class Walker {
public:
    Walker(const Kind& kind, const vantorClient::BufferData& dst, const vantorClient::BufferData& src, bool isGray)
        : kind_(kind), sides_{{src, 0}, {dst, 6}}, isGray_(isGray) {}

    int run() {
        expected.push_back(std::string("log 4 vantor_client.cpp:") + kind_.start);
        for (Side& side : sides_) {
            const auto& d = side.image;
            if (isGray_ ? d.fdUV >= 0 : !(d.fdY >= 0 && d.fdUV >= -1) && !(d.fdY == -1 && d.fdUV == -1)) {
                log(6, side.line(isGray_),
                    isGray_ ? "fdUV(" + std::to_string(d.fdUV) + ") must not be provided for Grayscale format"
                            : "fdY(" + std::to_string(d.fdY) + ") must be followed by fdUV(" + std::to_string(d.fdUV) +
                                  ")");
                return -38;
            }
            if (!select(side)) return fallBack();
        }
        describe(sides_[0], "IN");
        describe(sides_[1], "OUT");
        for (Side& side : sides_) {
            if (!createHandle(side)) return -1;
        }
        attempt("gettimeofday");
        const bool fails =
            attempt("service", std::string(kind_.method) + sides_[1].sent(" ") + " from" + sides_[0].sent(" "));
        attempt("gettimeofday");
        log(4, kind_.more[0], std::string(kind_.method) + " -1999.000000ms elapsed");
        if (fails) log(6, kind_.more[1], std::string(kind_.method) + "() failed");
        int status = fails ? 5 : 0;
        for (Side& side : sides_) {
            if (side.mapped) status = attempt("munmap", std::to_string(side.mapped)) ? -1 : 0;
            if (status == 0) {
                status = attempt("native_handle_delete") ? -22 : 0;
            } else {
                log(6, side.line(5), "munmap() failed");
            }
        }
        log(4, kind_.more[2], kind_.done);
        return fails ? fallBack() : 0;
    }

    Events expected;
    bool fellBack = false;
    size_t leaked = 0;  ///< descriptors that stay open

private:
    struct Side {
        const vantorClient::BufferData& image;
        int firstLine;
        size_t mapped = 0;
        std::vector<int> fds{};
        void* y = nullptr;
        void* uv = nullptr;

        int line(int index) const { return firstLine + index; }
        std::string sent(const std::string& before) const {
            std::string text = before + edges(image);
            for (int fd : fds) text += " " + std::to_string(fd);
            return text;
        }
    };

    bool attempt(const std::string& call, const std::string& argument = "") {
        expected.push_back(argument.empty() ? call : call + " " + argument);
        return ++turns_[call] == failingTurn && call == failingCall;
    }
    void log(int priority, int line, const std::string& text) {
        const int number = line < 12 ? kind_.lines[line] : line;
        expected.push_back("log " + std::to_string(priority) + " vantor_client.cpp:" + kind_.function +
                           "():" + std::to_string(number) + " " + text);
    }
    bool select(Side& side) {
        const size_t luma = static_cast<size_t>(side.image.width) * static_cast<size_t>(side.image.height);
        const bool isImported = side.image.fdY >= 0;
        side.y = side.image.y;
        if (isImported) side.fds.push_back(side.image.fdY);
        if (isImported && !isGray_ && side.image.fdUV >= 0) {
            side.fds.push_back(side.image.fdUV);
            side.uv = side.image.uv;
        }
        if (isImported && !isGray_) return true;
        const size_t length = isImported ? luma / 2 : luma * 3 / 2;
        if (attempt("ion_alloc_fd", std::to_string(length))) {
            log(6, side.line(2), "ion_alloc_fd(" + std::to_string(device) + ") failed");
            return false;
        }
        attempt("mmap", std::to_string(length));
        side.mapped = length;
        side.fds.push_back(buffers[leaked]);
        (isImported ? side.uv : side.y) = mappings[leaked++];
        return true;
    }
    void describe(const Side& side, const char* name) {
        char text[256];
        std::snprintf(text, sizeof text, "%s : y=%p, uv=%p, size=[%dx%d], fdY=%d(%s), fdUV=%d(%s)", name, side.y,
                      side.uv, side.image.width, side.image.height, side.fds[0],
                      side.image.fdY > -1 ? "IMPORT" : "ALLOC", side.fds.size() > 1 ? side.fds[1] : -1,
                      side.image.fdUV > -1 ? "IMPORT" : "ALLOC");
        log(4, side.line(3), text);
    }
    bool createHandle(Side& side) {
        if (!attempt("native_handle_create", std::to_string(side.fds.size()))) return true;
        log(6, side.line(4), "native_handle_create() failed");
        for (int fd : side.fds) attempt("close", std::to_string(fd));
        leaked -= side.fds.size();  // the caller's own count as well
        if (side.mapped && attempt("munmap", std::to_string(side.mapped))) log(6, side.line(5), "munmap() failed");
        return false;
    }
    int fallBack() {
        log(6, kind_.more[3], kind_.fallback);
        fellBack = true;
        return -38;
    }

    const Kind& kind_;
    Side sides_[2];
    bool isGray_;
    std::map<std::string, int> turns_;
};

size_t openDescriptors() {
    size_t count = 0;
    DIR* directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr) ++count;
    closedir(directory);
    return count;
}

class ServiceRequests : public testing::Test {
protected:
    void SetUp() override {
        failingTurn = 0;
        if (device < 0) {
            ASSERT_EQ(android::OK, service_->registerAsService("default"));
            ASSERT_EQ(0, vantorClient::init());
        }
    }

    int run(const Kind& kind, const Picture& dst, const Picture& src, int format) {
        events.clear();
        turns.clear();
        buffers.clear();
        mappings.clear();
        grid_.dX[35] = 35;
        grid_.dY[1088] = 77;
        isRecording = true;
        const int status = kind.isWarp ? vantorClient::runGDCGrid(dst.data, src.data, grid_, format, hardware::GDC_HW)
                                       : vantorClient::runCSC(dst.data, src.data, format);
        isRecording = false;
        return status;
    }

    void closeBuffers() {
        for (int fd : buffers) close(fd);
    }

    static inline sp<FakeService> service_ = new FakeService;
    vantorClient::_GDCGrid grid_{};
};

TEST_F(ServiceRequests, GoAsTheWalkerSaysForEveryDescriptorPairAndEveryFailingCall) {
    constexpr int kGiven = 1000;  // in place of a descriptor of the caller's
    const int pairs[][2] = {{kGiven, kGiven}, {kGiven, -1}, {-1, -1}, {-1, kGiven}, {-2, -2}, {kGiven, -2}, {-5, -3}};
    const char* calls[] = {"", "ion_alloc_fd", "munmap", "native_handle_create", "native_handle_delete", "service"};
    int requests = 0;
    for (const Kind& kind : kKinds) {
        for (int combination = 0; combination < 2 * 7 * 7 && !HasFatalFailure(); ++combination) {
            for (const char* call : calls) {
                failingCall = call;
                for (failingTurn = 1;; ++failingTurn) {
                    Picture src(96, 64, 1), dst(96, 64, 2);
                    const size_t before = openDescriptors();
                    int given = 0;
                    const auto descriptor = [&](int value) {
                        given += value == kGiven;
                        return value == kGiven ? open("/dev/null", O_RDWR) : value;
                    };
                    const int format = combination % 2;
                    for (auto* side : {&src, &dst}) {
                        const auto& pair = pairs[(side == &src ? combination / 2 : combination / 14) % 7];
                        side->data.fdY = descriptor(pair[0]);
                        side->data.fdUV = descriptor(pair[1]);
                    }
                    const int status = run(kind, dst, src, format);
                    Walker walker(kind, dst.data, src.data, format == 0);
                    ASSERT_EQ(walker.run(), status);
                    ASSERT_EQ(events, walker.expected) << call << " " << failingTurn;
                    ASSERT_TRUE(!walker.fellBack || dst.bytes[6143] == 1);  // the library copied
                    EXPECT_EQ(openDescriptors(), before + static_cast<size_t>(given) + walker.leaked);
                    ++requests;
                    const bool isOver = turns[failingCall] < failingTurn;
                    closeBuffers();
                    for (const auto* side : {&src, &dst}) {
                        for (int fd : {side->data.fdY, side->data.fdUV}) {
                            if (fd >= 0) close(fd);
                        }
                    }
                    if (isOver) break;
                }
            }
        }
    }
    EXPECT_GT(requests, 1500);
}

TEST_F(ServiceRequests, CopyPlanesInAndOutByTheDestinationsSize) {
    for (const Kind& kind : kKinds) {
        Picture src(96, 64, 1), dst(96, 64, 2);
        std::vector<uint8_t> from(3072, 3), to(3072, 4);
        EXPECT_EQ(0, run(kind, dst, src, 1));
        EXPECT_EQ(service_->seen, std::string(144, 1));
        EXPECT_EQ(dst.bytes[9215] * 10 + dst.bytes[9216], 72);
        closeBuffers();
        src.data.uv = from.data();
        dst.data.uv = to.data();
        EXPECT_EQ(0, run(kind, dst, src, 1));
        EXPECT_EQ(service_->seen, std::string(96, 1) + std::string(48, 3));
        EXPECT_EQ(to, std::vector<uint8_t>(3072, 7));
        closeBuffers();
        dst.bytes.assign(65536, 2);
        EXPECT_EQ(0, run(kind, dst, src, 0));
        EXPECT_EQ(service_->seen, std::string(96, 1) + std::string(48, 0));
        EXPECT_EQ(dst.bytes[6143] * 10 + dst.bytes[6144], 72);
        closeBuffers();
        src.data.fdY = memfd_create("luma", 0);
        EXPECT_EQ(0, run(kind, dst, src, 0));
        EXPECT_EQ(service_->seenChroma, 0);
        close(std::exchange(src.data.fdY, -1));
        closeBuffers();
        // Without planes nothing is copied; the mapping may even have failed.
        src.data.y = dst.data.y = nullptr;
        failingCall = "mmap";
        failingTurn = 1;
        EXPECT_EQ(0, run(kind, dst, src, 1));
        EXPECT_EQ(service_->seen, std::string(144, '\xAA'));
        failingTurn = 0;
        closeBuffers();
    }
    failingCall = "mmap";
    failingTurn = 1;
    Picture mapped(96, 64, 1);  // with planes, a failed mapping is written to
    EXPECT_DEATH(run(kKinds[0], mapped, mapped, 1), "");
    failingTurn = 0;
    // A smaller destination cuts the luma off, and the chroma follows there.
    Picture src(96, 64, 1), dst(48, 32, 2);
    std::vector<uint8_t> chroma(3072, 3);
    src.data.uv = chroma.data();
    EXPECT_EQ(0, run(kKinds[0], dst, src, 1));
    EXPECT_EQ(service_->seen, std::string(24, 1) + std::string(48, 3) + std::string(72, '\xAA'));
    closeBuffers();
}

TEST_F(ServiceRequests, ScalingTakesANewTokenEachTimeAndWarpingOnceItIsValid) {
    Picture src(16, 16, 1), dst(4, 4, 2), small(95, 64, 1);
    EXPECT_EQ(0, run(kKinds[0], dst, src, 1));  // a factor of exactly 0.25
    closeBuffers();
    const Token first = service_->token;
    EXPECT_EQ(-38, run(kKinds[0], dst, src, 5));
    service_->token.clear();
    EXPECT_EQ(first->getStrongCount(), 1);  // a rejected request replaced the library's reference
    EXPECT_EQ(0, run(kKinds[0], dst, src, 1));
    closeBuffers();
    const Token second = service_->token;
    EXPECT_EQ(-38, run(kKinds[1], small, small, 1));
    service_->token.clear();
    EXPECT_EQ(second->getStrongCount(), 2);
    Picture picture(96, 64, 1);
    EXPECT_EQ(0, run(kKinds[1], picture, picture, 1));
    const Token third = service_->token;
    EXPECT_EQ(0, run(kKinds[1], picture, picture, 1));
    EXPECT_TRUE(third != second && service_->token != third && third->getStrongCount() == 1);
    closeBuffers();
}

TEST_F(ServiceRequests, SayThatTheFallbackFailedAsWell) {
    Picture src(96, 64, 1), dst(96, 64, 2);
    src.data.y = nullptr;
    failingCall = "service";
    failingTurn = 1;
    for (const Kind& kind : kKinds) {
        EXPECT_EQ(-38, run(kind, dst, src, 1));
        const std::string line = std::string(kind.function) + "():" + (kind.isWarp ? "976" : "586");
        EXPECT_EQ(events.back(), "log 6 vantor_client.cpp:" + line + " runInterpBicubic() failed");
        closeBuffers();
    }
}

TEST_F(ServiceRequests, EndTheProcessWhenTheTransportFails) {
    GTEST_FLAG_SET(death_test_style, "fast");
    Picture src(96, 64, 1), dst(96, 64, 2);
    service_->isDead = true;
    for (const Kind& kind : kKinds) EXPECT_DEATH(run(kind, dst, src, 1), "");
    service_->isDead = false;
}

TEST(Connection, CountsReferencesByItsOddRules) {
    const auto expectCall = [](int (*call)(), int status, int count, Events more) {
        const std::string name = call == vantorClient::init ? "init():61" : "deinit():91";
        more.insert(more.begin(),
                    "log 4 vantor_client.cpp:" + name + " Reference count=(" + std::to_string(count) + ")");
        events.clear();
        EXPECT_EQ(call(), status);
        EXPECT_EQ(events, more);
    };
    const auto registered = [] {
        const sp<FakeService> service = new FakeService;
        EXPECT_EQ(android::OK, service->registerAsService("default"));
        return service;
    };
    if (device >= 0) GTEST_SKIP() << "wants a process of its own";
    expectCall(vantorClient::init, -38, 1, {"log 6 vantor_client.cpp:init():70 getService() failed"});
    const auto first = registered();
    failingCall = "ion_open";
    failingTurn = 1;
    expectCall(vantorClient::init, -38, 2, {"ion_open", "log 6 vantor_client.cpp:init():79 ion_open() failed"});
    EXPECT_EQ(first->getStrongCount(), 3);  // here, in the registry and in the library
    expectCall(vantorClient::init, 0, 3, {});
    for (int count : {2, 1}) expectCall(vantorClient::deinit, 0, count, {});
    const auto second = registered();
    expectCall(vantorClient::init, 0, 2, {"ion_open"});
    EXPECT_EQ(first->getStrongCount() * 10 + second->getStrongCount(), 13);
    const auto third = registered();
    expectCall(vantorClient::init, 0, 3, {});  // no look-up any more
    EXPECT_EQ(third->getStrongCount(), 2);
    for (int count : {2, 1, 0}) expectCall(vantorClient::deinit, 0, count, {});
    failingCall = "ion_close";
    turns.clear();
    expectCall(vantorClient::deinit, -38, -1, {"ion_close", "log 6 vantor_client.cpp:deinit():98 ion_close() failed"});
    expectCall(vantorClient::init, 0, 0, {});  // the descriptor is kept, so the allocator is not opened again
    expectCall(vantorClient::deinit, 0, -1, {"ion_close"});
    expectCall(vantorClient::init, 0, 0, {});
}

}  // namespace
