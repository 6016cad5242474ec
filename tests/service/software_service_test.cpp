// The software service: the processor's bytes for whole pictures, regions, and anything that a client may send.
#include "service/software_service.h"

#include <cutils/native_handle.h>
#include <dirent.h>
#include <ion/ion.h>

#include <new>

#include "tests/support.h"

namespace {
int allocationsLeft = -1;  // before one fails; negative: none does

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

namespace vantor::test {
namespace {

using hardware::vantorClient;
using Geometry = SoftwareService::Geometry;

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

size_t entries(const char* folder) {
    size_t count = 0;
    DIR* open = opendir(folder);
    while (readdir(open) != nullptr) ++count;
    closedir(open);
    return count;
}

size_t mappings() {
    std::ifstream maps("/proc/self/maps");
    size_t count = 0;
    for (std::string line; std::getline(maps, line);) count += line.find("memfd") != std::string::npos;
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
            size_t descriptors = 0, mapped = mappings();
            const char* requests = std::getenv("VANTOR_REQUESTS");
            for (int i = 0; i < (format == 0 ? 1 : requests ? std::atoi(requests) : 50); ++i) {
                if (i == 1) descriptors = entries("/proc/self/fd");
                ASSERT_EQ(0, hardware(taken, given));
            }
            EXPECT_TRUE(format == 0 || descriptors == entries("/proc/self/fd"));
            EXPECT_EQ(mapped, mappings());
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

/// Calls the service with one or two buffers a side.
struct Direct : testing::Test {
    static native_handle_t* handle(const std::vector<int>& fds) {
        native_handle_t* created = native_handle_create(static_cast<int>(fds.size()), 0);
        std::copy(fds.begin(), fds.end(), created->data);
        return created;
    }
    int32_t scale(const Geometry& dstSize, const std::vector<int>& to, const Geometry& srcSize,
                  const std::vector<int>& from) {
        SoftwareService::Handle dstHandle, srcHandle;
        dstHandle.setTo(handle(to), false);
        srcHandle.setTo(handle(from), false);
        const int32_t status = service->runCSC(dstSize, dstHandle, srcSize, srcHandle, nullptr);
        if (status != 0) {  // then a warp is refused as well
            EXPECT_EQ(status, int32_t{service->runGDC(dstSize, dstHandle, srcSize, srcHandle, {}, nullptr)});
        }
        native_handle_delete(const_cast<native_handle_t*>(dstHandle.getNativeHandle()));
        native_handle_delete(const_cast<native_handle_t*>(srcHandle.getNativeHandle()));
        return status;
    }

    android::sp<SoftwareService> service = new SoftwareService;
    std::vector<uint8_t> content = std::vector<uint8_t>(64 * 64 * 3 / 2, 50);
    Shared src{content}, dst{std::vector<uint8_t>(content.size(), 9)};
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

TEST_F(Direct, RefusesWhatDoesNotFit) {
    const Geometry whole{64, 64, 0, 0, 63, 63};
    EXPECT_EQ(0, scale(whole, {dst.fd, dst.fd}, whole, {src.fd, src.fd}));
    // Buffers are rounded up to whole pages: 8192 bytes here.
    const Geometry wrong[] = {
        {96, 64, 0, 0, 95, 63},         {64, 64, 0, 0, 64, 63},
        {64, 64, -2, 0, 63, 63},        {64, 64, 0, 1, 63, 63},
        {64, 64, 0, 0, 1, 63},          {64, 64, 40, 0, 31, 63},
        {63, 64, 0, 0, 61, 63},         {0, 0, 0, 0, 0, 0},
        {-64, -64, 0, 0, -65, -65},     {8194, 2, 0, 0, 8193, 1},
        {8192, 8192, 0, 0, 8191, 8191}, {INT32_MAX, INT32_MAX, INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX}};
    for (const Geometry& geometry : wrong) {
        EXPECT_NE(0, scale(geometry, {dst.fd}, whole, {src.fd})) << geometry.width << " " << geometry.cropRight;
        EXPECT_NE(0, scale(whole, {dst.fd}, geometry, {src.fd})) << geometry.width << " " << geometry.cropRight;
    }
    for (const std::vector<int>& fds :
         {std::vector<int>{}, {src.fd, src.fd, src.fd}, {-1}, {9999}, {0}, {src.fd, -1}}) {
        EXPECT_NE(0, scale(whole, {dst.fd}, whole, fds));
    }
    EXPECT_NE(0, int32_t{service->runCSC(whole, nullptr, whole, nullptr, nullptr)});
}

TEST_F(Direct, SurvivesAnyFailingAllocation) {
    const Geometry whole{64, 64, 0, 0, 63, 63};
    SoftwareService::Handle from, to;
    from.setTo(handle({dup(src.fd)}), true);
    to.setTo(handle({dup(dst.fd)}), true);
    Picture picture(96, 64);
    const vantorClient::_GDCGrid still{};
    const SoftwareService::GdcGrid grid{};
    const size_t descriptors = entries("/proc/self/fd");
    const std::vector<std::function<int32_t()>> requests{
        [&] { return int32_t{service->runCSC(whole, to, whole, from, nullptr)}; },
        [&] { return int32_t{service->runGDC(whole, to, whole, from, grid, nullptr)}; },
        [&] {  // in place, which takes a picture's memory
            return vantorClient::runGDCGrid(picture.data, picture.data, still, 1, hardware::GDC_C_MODEL);
        }};
    for (size_t i = 0; i < requests.size(); ++i) {
        const std::vector<uint8_t> before = i < 2 ? dst.copy(content.size()) : picture.bytes;
        int failures = 0;
        for (;; ++failures) {
            allocationsLeft = failures;
            const int32_t status = requests[i]();
            const bool hasFailed = allocationsLeft < 0;
            allocationsLeft = -1;
            ASSERT_EQ(status != 0, hasFailed) << "request " << i << " after " << failures;
            if (!hasFailed) break;
            ASSERT_TRUE(before == (i < 2 ? dst.copy(content.size()) : picture.bytes)) << "request " << i;
        }
        EXPECT_GE(failures, 3) << "request " << i;
        EXPECT_EQ(descriptors, entries("/proc/self/fd")) << "request " << i;
    }
}

}  // namespace
}  // namespace vantor::test
