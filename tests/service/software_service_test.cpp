// The software service: the same bytes as in software for whole pictures, regions, and anything that a client may send
// or do to its buffers meanwhile.
#include "service/software_service.h"

#include <android/log.h>
#include <cutils/native_handle.h>
#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <ion/ion.h>
#include <sys/stat.h>

#include <atomic>
#include <new>
#include <thread>

#include "service/start_software_service.h"
#include "tests/support.h"

// g++ inlines one side of the following pairs alone.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

namespace {
int allocationsLeft = -1;             // before one fails; negative: none does
std::function<void(int)> afterFstat;  // what a client does to a buffer whose size was just looked at
bool areWritesShort = false;
std::atomic<int> lines{0};  // logged

void* allocate(size_t size) { return allocationsLeft >= 0 && allocationsLeft-- == 0 ? nullptr : std::malloc(size); }
}  // namespace

void* operator new(size_t size) {
    void* memory = allocate(size);
    return memory ? memory : throw std::bad_alloc();
}
// The sanitizers' own forms of these would not call that one.
void* operator new[](size_t size) { return operator new(size); }
void* operator new[](size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, size_t) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory, size_t) noexcept { std::free(memory); }

extern "C" {
int fstat(int fd, struct stat* file) noexcept {
    static const auto call = reinterpret_cast<int (*)(int, struct stat*)>(dlsym(RTLD_NEXT, "fstat"));
    const int result = call(fd, file);
    if (afterFstat) afterFstat(fd);
    return result;
}
ssize_t pwrite(int fd, const void* bytes, size_t count, off_t place) {
    using Call = ssize_t(int, const void*, size_t, off_t);
    static const auto call = reinterpret_cast<Call*>(dlsym(RTLD_NEXT, "pwrite"));
    return call(fd, bytes, areWritesShort ? count - 1 : count, place);
}
int __android_log_print(int, const char*, const char*, ...) { return ++lines; }
}

namespace vantor::test {
namespace {

using hardware::vantorClient;
using Geometry = SoftwareService::Geometry;
using GdcGrid = SoftwareService::GdcGrid;

struct Picture {
    Picture(int width, int height) : data(wholePicture(bytes, width, height)) {}
    std::vector<uint8_t> bytes;
    vantorClient::BufferData data;
};

/// A shared buffer with a picture's bytes.
struct Shared {
    explicit Shared(const std::vector<uint8_t>& content) {
        const int device = ion_open();
        EXPECT_EQ(0, ion_alloc_fd(device, content.size(), 4096, 1, 3, &fd));
        ion_close(device);
        length = content.size();
        bytes = static_cast<uint8_t*>(mmap(nullptr, length, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0));
        std::copy(content.begin(), content.end(), bytes);
    }
    ~Shared() {
        munmap(bytes, length);
        close(fd);
    }
    std::vector<uint8_t> copy(size_t count) const { return {bytes, bytes + count}; }

    int fd = -1;
    size_t length;
    uint8_t* bytes;
};

size_t entries(const char* directory) {
    size_t count = 0;
    DIR* open = opendir(directory);
    while (readdir(open) != nullptr) ++count;
    closedir(open);
    return count;
}

TEST(SoftwareService, GivesTheProcessorsBytesAndKeepsNothing) {
    startSoftwareService();
    ASSERT_EQ(0, vantorClient::init());
    Random random(seed());
    Picture src(112, 66), dst(112, 66), scaled(64, 48);
    src.bytes = random.content(src.bytes.size());
    src.data.y = src.bytes.data();
    vantorClient::_GDCGrid grid;
    for (int k = 0; k < 1089; ++k) grid.dX[k] = grid.dY[k] = random.between(-65536, 65536);
    for (int format : {0, 1}) {
        const auto check = [&](Picture& expected, const auto& hardware, const auto& processor) {
            ASSERT_EQ(0, processor(expected.data, src.data));
            Shared from(src.bytes), to(std::vector<uint8_t>(expected.bytes.size()));
            auto given = src.data, taken = expected.data;
            given.fdY = from.fd;
            taken.fdY = to.fd;
            given.y = taken.y = nullptr;
            size_t descriptors = 0;
            const char* requests = std::getenv("VANTOR_REQUESTS");
            for (int i = 0; i < (format == 0 ? 1 : requests ? std::atoi(requests) : 50); ++i) {
                if (i == 1) descriptors = entries("/proc/self/fd");
                ASSERT_EQ(0, hardware(taken, given));
            }
            EXPECT_TRUE(format == 0 || descriptors == entries("/proc/self/fd"));
            const auto luma = static_cast<size_t>(taken.width * taken.height);
            const size_t count = format == 1 ? luma * 3 / 2 : luma;  // gray pictures leave their chroma to chance
            expected.bytes.resize(count);
            EXPECT_EQ(to.copy(count), expected.bytes);
            expected.bytes.resize(luma * 3 / 2);
        };
        check(
            scaled, [&](auto& d, auto& s) { return vantorClient::runCSC(d, s, format); },
            [&](auto& d, auto& s) { return vantorClient::runInterpBicubic(d, s, format); });
        check(
            dst, [&](auto& d, auto& s) { return vantorClient::runGDCGrid(d, s, grid, format, hardware::GDC_HW); },
            [&](auto& d, auto& s) { return vantorClient::runGDCGrid(d, s, grid, format, hardware::GDC_C_MODEL); });
    }
}

const GdcGrid* const kScaling = nullptr;  // instead of a warp by a grid
const Geometry kWhole{64, 64, 0, 0, 63, 63};
const std::vector<uint8_t> kContent(64 * 64 * 3 / 2, 50);

/// A memory file of no more bytes than these, which its client can shrink.
int memoryFile(const std::vector<uint8_t>& content) {
    const int fd = memfd_create("client", MFD_ALLOW_SEALING);
    EXPECT_EQ(static_cast<ssize_t>(content.size()), write(fd, content.data(), content.size()));
    return fd;
}

std::vector<uint8_t> bytesOf(int fd) {
    std::vector<uint8_t> bytes(kContent.size() * 2);
    bytes.resize(static_cast<size_t>(pread(fd, bytes.data(), bytes.size(), 0)));
    return bytes;
}

/// Another descriptor of a memory file.
int reopened(int fd, int flags) { return open(("/proc/self/fd/" + std::to_string(fd)).c_str(), flags); }

/// Calls the service with one or two buffers per picture.
struct Direct : testing::Test {
    static native_handle_t* handle(const std::vector<int>& fds) {
        native_handle_t* created = native_handle_create(static_cast<int>(fds.size()), 0);
        std::copy(fds.begin(), fds.end(), created->data);
        return created;
    }
    int32_t request(const GdcGrid* grid, const Geometry& dstSize, const std::vector<int>& to, const Geometry& srcSize,
                    const std::vector<int>& from) {
        SoftwareService::Handle dstHandle, srcHandle;
        dstHandle.setTo(handle(to), false);
        srcHandle.setTo(handle(from), false);
        const int32_t status = grid ? service->runGDC(dstSize, dstHandle, srcSize, srcHandle, *grid, nullptr)
                                    : service->runCSC(dstSize, dstHandle, srcSize, srcHandle, nullptr);
        native_handle_delete(const_cast<native_handle_t*>(dstHandle.getNativeHandle()));
        native_handle_delete(const_cast<native_handle_t*>(srcHandle.getNativeHandle()));
        return status;
    }
    int32_t scale(const Geometry& dstSize, const std::vector<int>& to, const Geometry& srcSize,
                  const std::vector<int>& from) {
        return request(kScaling, dstSize, to, srcSize, from);
    }
    /// Both requests fail with a line in the log each.
    void expectRefusal(const Geometry& dstSize, const std::vector<int>& to, const Geometry& srcSize,
                       const std::vector<int>& from) {
        for (const GdcGrid* method : {&still, kScaling}) {
            lines = 0;
            EXPECT_EQ(-22, request(method, dstSize, to, srcSize, from));
            EXPECT_EQ(1, lines);
        }
    }
    bool isUntouched() const { return dst.copy(kContent.size()) == std::vector<uint8_t>(kContent.size(), 9); }

    android::sp<SoftwareService> service = new SoftwareService;
    const GdcGrid still{};
    Shared src{kContent}, dst{std::vector<uint8_t>(kContent.size(), 9)};
};

TEST_F(Direct, ScalesRegionsAndLeavesTheRestAlone) {
    for (int i = 0; i < 64 * 64; ++i) src.bytes[i] = i % 64 < 32 ? 50 : 200;
    EXPECT_EQ(0, scale({64, 64, 8, 16, 23, 31}, {dst.fd}, {64, 64, 32, 0, 63, 63}, {src.fd}));
    for (int i = 0; i < 64 * 96; ++i) {
        const int x = i % 64, y = i / 64, top = y < 64 ? 16 : 64 + 8, height = y < 64 ? 16 : 8;
        const bool inside = x >= 8 && x < 24 && y >= top && y < top + height;
        ASSERT_EQ(dst.bytes[i], !inside ? 9 : y < 64 ? 200 : 50) << x << " " << y;
    }
}

TEST_F(Direct, TakesOneFileForBothPictures) {
    const int one = memoryFile(Random(seed()).content(kContent.size())), other = memoryFile(bytesOf(one));
    const Geometry from{64, 64, 0, 0, 47, 47}, to{64, 64, 8, 4, 63, 63};
    GdcGrid down{};
    std::fill_n(&down.dY[0][0], 1089, -80000);
    for (const GdcGrid* method : {const_cast<const GdcGrid*>(&down), kScaling}) {
        EXPECT_EQ(0, request(method, to, {other}, from, {one}) | request(method, to, {one}, from, {one}));
        EXPECT_EQ(bytesOf(one), bytesOf(other)) << seed();
    }
    close(one), close(other);
}

TEST_F(Direct, MayHaveOneOperationReplaced) {
    struct Other : SoftwareService {
        Status runCSC(const Geometry&, const Handle&, const Geometry&, const Handle&, const Token&) override {
            return -7;
        }
    };
    service = new Other;
    EXPECT_EQ(-7, scale(kWhole, {dst.fd}, kWhole, {src.fd}));
    EXPECT_TRUE(isUntouched());
    EXPECT_EQ(0, request(&still, kWhole, {dst.fd}, kWhole, {src.fd}));
    EXPECT_EQ(dst.copy(kContent.size()), kContent);
}

TEST_F(Direct, RefusesWhatDoesNotFit) {
    EXPECT_EQ(0, scale(kWhole, {dst.fd, dst.fd}, kWhole, {src.fd, src.fd}));
    std::fill_n(dst.bytes, kContent.size(), 9);
    // Buffers are rounded up to whole pages: 8192 bytes here.
    const Geometry wrong[] = {
        {96, 64, 0, 0, 95, 63},         {64, 64, 0, 0, 64, 63},
        {64, 64, -2, 0, 63, 63},        {64, 64, 0, 1, 63, 63},
        {64, 64, 0, 0, 1, 63},          {64, 64, 40, 0, 31, 63},
        {63, 64, 0, 0, 61, 63},         {0, 0, 0, 0, 0, 0},
        {-64, -64, 0, 0, -65, -65},     {8194, 2, 0, 0, 8193, 1},
        {8192, 8192, 0, 0, 8191, 8191}, {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
    for (const Geometry& geometry : wrong) {
        SCOPED_TRACE(std::to_string(geometry.width) + " " + std::to_string(geometry.cropRight));
        expectRefusal(geometry, {dst.fd}, kWhole, {src.fd});
        expectRefusal(kWhole, {dst.fd}, geometry, {src.fd});
    }
    for (const std::vector<int>& fds :
         {std::vector<int>{}, {src.fd, src.fd, src.fd}, {-1}, {9999}, {0}, {src.fd, -1}}) {
        expectRefusal(kWhole, {dst.fd}, kWhole, fds);
    }
    for (const Geometry& other : {Geometry{64, 32, 0, 0, 63, 31}, Geometry{32, 64, 0, 0, 31, 63}}) {
        EXPECT_EQ(-22, request(&still, kWhole, {dst.fd}, other, {src.fd}));
        EXPECT_EQ(-22, request(&still, other, {dst.fd}, kWhole, {src.fd}));
    }
    EXPECT_NE(0, int32_t{service->runCSC(kWhole, nullptr, kWhole, nullptr, nullptr)});
    EXPECT_TRUE(isUntouched());
}

TEST_F(Direct, RefusesBuffersThatCannotBeReadOrWrittenAnywhere) {
    const int memory = memoryFile(kContent), sealed = memoryFile(kContent), readOnly = reopened(memory, O_RDONLY);
    ASSERT_EQ(0, fcntl(sealed, F_ADD_SEALS, F_SEAL_WRITE));
    for (int wrong : {sealed, readOnly, reopened(memory, O_RDWR | O_APPEND)}) {
        EXPECT_EQ(0, scale(kWhole, {dst.fd}, kWhole, {wrong})) << "as a source";
        std::fill_n(dst.bytes, kContent.size(), 9);
        expectRefusal(kWhole, {wrong}, kWhole, {src.fd});
        expectRefusal(kWhole, {dst.fd, wrong}, kWhole, {src.fd});
        EXPECT_TRUE(isUntouched());
    }
    expectRefusal(kWhole, {dst.fd}, kWhole, {reopened(memory, O_WRONLY)});
    // A file system of the client's own may never answer, so it must not be asked.
    int asked = 0;
    afterFstat = [&](int) { ++asked; };
    int pipe[2];
    ASSERT_EQ(0, ::pipe(pipe));
    for (int foreign : {open("/proc/version", O_RDONLY), open("/", O_RDONLY), pipe[0]}) {
        expectRefusal(kWhole, {foreign}, kWhole, {src.fd});
        expectRefusal(kWhole, {dst.fd}, kWhole, {foreign});
    }
    afterFstat = nullptr;
    EXPECT_EQ(asked, 6) << "the source, wherever the destination is foreign";
    EXPECT_TRUE(isUntouched() && bytesOf(memory) == kContent && bytesOf(sealed) == kContent);
}

TEST_F(Direct, SurvivesBuffersThatAreOrBecomeTooShort) {
    const std::vector<uint8_t> luma(64 * 64, 9), chroma(64 * 32, 9), block(kContent.begin(), kContent.end() - 1);
    const int shortLuma = memoryFile({luma.begin(), luma.end() - 1}), shortBlock = memoryFile(block),
              shortChroma = memoryFile({chroma.begin(), chroma.end() - 1});
    for (const std::vector<int>& fds : {std::vector<int>{shortBlock}, {shortLuma, src.fd}, {src.fd, shortChroma}}) {
        expectRefusal(kWhole, {dst.fd}, kWhole, fds);
        expectRefusal(kWhole, fds, kWhole, {src.fd});
    }
    int wrong = 0;
    for (off_t left : {off_t{0}, off_t{64 * 64 - 1}, off_t{64 * 64}, off_t{64 * 96 - 1}}) {
        for (const Geometry& region : {kWhole, Geometry{64, 64, 8, 8, 59, 63}}) {
            const int from = memoryFile(kContent), to = memoryFile(std::vector<uint8_t>(kContent.size(), 9));
            afterFstat = [&](int fd) { wrong += fd == from && ftruncate(fd, left) != 0; };
            expectRefusal(kWhole, {dst.fd}, region, {from});
            // A destination that is gone is made anew, as far as the region reaches.
            afterFstat = [&](int fd) { wrong += fd == to && ftruncate(fd, left) != 0; };
            EXPECT_EQ(0, scale(kWhole, {to}, kWhole, {src.fd}));
            EXPECT_EQ(kContent, bytesOf(to));
            afterFstat = nullptr;
            close(from), close(to);
        }
    }
    EXPECT_TRUE(wrong == 0 && isUntouched());
    areWritesShort = true;
    expectRefusal(kWhole, {dst.fd}, kWhole, {src.fd});
    areWritesShort = false;
}

TEST_F(Direct, ServesClientsAtOnce) {
    struct Client {
        explicit Client(const std::vector<uint8_t>& content) : from(content), to(content) {}
        Shared from, to;
        GdcGrid grid{};
        std::vector<uint8_t> warped, scaled;
    };
    Random random(seed());
    std::vector<std::unique_ptr<Client>> clients;
    std::atomic<int> waiting{2}, wrong{0};
    const auto run = [&](Client& client, const GdcGrid* grid) {
        wrong += request(grid, kWhole, {client.to.fd}, kWhole, {client.from.fd}) != 0;
        return client.to.copy(kContent.size());
    };
    for (int i = 0; i < 2; ++i) {
        Client& client = *clients.emplace_back(new Client(random.content(kContent.size())));
        for (int32_t* node : {&client.grid.dX[0][0], &client.grid.dY[0][0]}) {
            for (int k = 0; k < 1089; ++k) node[k] = random.between(-200000, 200000);
        }
        client.scaled = run(client, kScaling);
        client.warped = run(client, &client.grid);
    }
    const auto work = [&](Client& client) {
        for (--waiting; waiting > 0;) std::this_thread::yield();
        for (int round = 0; round < 200; ++round) {
            wrong += run(client, &client.grid) != client.warped;
            wrong += run(client, kScaling) != client.scaled;
        }
    };
    std::thread other(work, std::ref(*clients[0]));
    work(*clients[1]);
    other.join();
    EXPECT_EQ(0, wrong) << seed();
}

TEST_F(Direct, SurvivesAnyFailingAllocation) {
    SoftwareService::Handle from, to;
    from.setTo(handle({dup(src.fd)}), true);
    to.setTo(handle({dup(dst.fd)}), true);
    Picture picture(96, 64);
    const vantorClient::_GDCGrid identity{};
    const size_t descriptors = entries("/proc/self/fd");
    const std::vector<std::function<int32_t()>> requests{
        [&] { return int32_t{service->runCSC(kWhole, to, kWhole, from, nullptr)}; },
        [&] { return int32_t{service->runGDC(kWhole, to, kWhole, from, still, nullptr)}; },
        [&] {  // in place, which takes a picture's memory
            return vantorClient::runGDCGrid(picture.data, picture.data, identity, 1, hardware::GDC_C_MODEL);
        }};
    for (size_t i = 0; i < requests.size(); ++i) {
        const std::vector<uint8_t> before = picture.bytes;
        int failures = 0;
        for (;; ++failures) {
            service = new SoftwareService;  // with no memory yet
            std::fill_n(dst.bytes, kContent.size(), 9);
            allocationsLeft = failures;
            const int32_t status = requests[i]();
            const bool hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            ASSERT_EQ(status != 0, hasFailed) << "request " << i << " after " << failures;
            if (!hasFailed) break;
            ASSERT_TRUE(isUntouched() && picture.bytes == before) << "request " << i;
            ASSERT_EQ(0, requests[i]()) << "after it";
        }
        EXPECT_GE(failures, i < 2 ? 3 : 2) << "request " << i;
        EXPECT_EQ(descriptors, entries("/proc/self/fd")) << "request " << i;
    }
}

}  // namespace
}  // namespace vantor::test
