// What Debian has no libraries for: calls of the service, its registry, shared buffers, and null strong
// pointers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ion/ion.h>
#include <sys/mman.h>
#include <unistd.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <memory>
#include <thread>

namespace {

using namespace android::hardware;
using namespace vendor::norlake::hardware::vantorService::V1_0;
using android::sp;
using android::hidl::base::V1_0::IBase;

static_assert(sizeof(ImageGeometry) == 24 && sizeof(GdcGrid) == 8712 && offsetof(GdcGrid, dY) == 4356);

struct Service : public IVantorService {
    Return<int32_t> runCSC(const ImageGeometry& dst, const hidl_handle&, const ImageGeometry&, const hidl_handle&,
                           const sp<IBase>&) override {
        return dst.width;
    }
    Return<int32_t> runGDC(const ImageGeometry&, const hidl_handle&, const ImageGeometry&, const hidl_handle&,
                           const GdcGrid&, const sp<IBase>&) override {
        return Status::fromStatusT(android::DEAD_OBJECT);
    }
};

TEST(PlatformService, IsFoundByItsNameAndCalled) {
    EXPECT_EQ(IVantorService::getService("nobody", false), nullptr);
    sp<IVantorService> service = new Service;
    EXPECT_EQ(service->registerAsService("test"), android::OK);
    EXPECT_EQ(IVantorService::getService("test", false), service);
    EXPECT_EQ(service->runCSC({7, 0, 0, 0, 0, 0}, nullptr, {}, nullptr, new IBase), 7);
    EXPECT_TRUE(service->runGDC({}, nullptr, {}, nullptr, {}, nullptr).isDeadObject());
    service->interfaceChain([](const auto& chain) { EXPECT_EQ(chain[1], "android.hidl.base@1.0::IBase"); });
    const auto replace = [] {
        EXPECT_EQ((new Service)->registerAsService("test"), android::OK);
        EXPECT_NE(IVantorService::getService("test"), nullptr);
    };
    std::thread one(replace), two(replace);
    one.join();
    two.join();
    EXPECT_EQ(service->getStrongCount(), 1);
}

TEST(PlatformHandle, OwnsOnlyWhatItCopied) {
    native_handle_t* given = native_handle_create(1, 0);
    given->data[0] = open("/dev/null", O_RDONLY);
    const hidl_handle wrapped(given);
    auto copy = std::make_unique<hidl_handle>(wrapped);
    hidl_handle moved(std::move(*copy));
    const int duplicate = moved->data[0];
    EXPECT_TRUE(!copy->getNativeHandle() && wrapped.getNativeHandle() == given && duplicate != given->data[0]);
    moved = nullptr;
    EXPECT_EQ(close(duplicate), -1);
    EXPECT_TRUE(native_handle_close(given) == 0 && native_handle_delete(given) == 0);
}

TEST(PlatformDeathTest, ResultsMustBeCheckedBeforeTheyAreReadOrDropped) {
    const Status dead = Status::fromStatusT(android::DEAD_OBJECT);
    const Status illegal = Status::fromExceptionCode(Status::EX_ILLEGAL_STATE, "why");
    EXPECT_DEATH(Return<int32_t>{dead}, "never checked.*dead object");
    EXPECT_DEATH(static_cast<void>(Return<void>(illegal).isDeadObject()), "never checked.*why");
    EXPECT_DEATH(static_cast<void>(static_cast<int32_t>(Return<int32_t>(dead))), "taken for successful");
    EXPECT_DEATH(Return<void>(illegal).assertOk(), "taken for successful");
    EXPECT_DEATH(([&] { Return<int32_t> failed(dead), moved(std::move(failed)); })(), "never checked");
    EXPECT_FALSE(Return<int32_t>(illegal).isOk());
    EXPECT_TRUE(Return<void>(dead).isDeadObject());
    Return<int32_t> good(3);
    good = Return<int32_t>(4);
    EXPECT_EQ(good, 4);
}

TEST(PlatformDeathTest, SaysThatAPointerIsNull) {
    EXPECT_DEATH(sp<IBase>()->ping().isOk(), "null strong pointer");
    EXPECT_DEATH((*sp<IBase>()).ping().isOk(), "null strong pointer");
}

TEST(PlatformIon, GivesSealedBuffersOfZerosThatCanBeShared) {
    const off_t page = sysconf(_SC_PAGESIZE);
    const auto size = static_cast<size_t>(2 * page);
    const int ion = ion_open();
    int fd = -7;
    EXPECT_EQ(ion_alloc_fd(ion, 0, 4096, 1, 3, &fd), -EINVAL);
    EXPECT_EQ(ion_alloc_fd(-1, 1, 4096, 1, 3, &fd), -EINVAL);
    EXPECT_EQ(ion_alloc_fd(ion, 1, 4096, 1, 3, nullptr), -EINVAL);
    for (size_t below : {0u, 4094u, 1u << 30}) EXPECT_EQ(ion_alloc_fd(ion, SIZE_MAX - below, 1, 1, 3, &fd), -ENOMEM);
    EXPECT_EQ(fd, -7);

    ASSERT_EQ(ion_alloc_fd(ion, size / 2 + 1, 4096, 1, 3, &fd), 0);
    EXPECT_EQ(lseek(fd, 0, SEEK_END), 2 * page);
    EXPECT_EQ(fcntl(fd, F_GETFD), FD_CLOEXEC);
    EXPECT_EQ(ftruncate(fd, 1) + ftruncate(fd, 3 * page) + fcntl(fd, F_ADD_SEALS, F_SEAL_WRITE), -3);
    void* one = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    void* two = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    EXPECT_EQ(std::string(static_cast<char*>(one), size), std::string(size, '\0'));
    EXPECT_EQ(close(fd), 0);
    static_cast<char*>(one)[page] = 77;
    EXPECT_EQ(static_cast<char*>(two)[page], 77);
    EXPECT_EQ(munmap(one, size) + munmap(two, size), 0);
    EXPECT_EQ(ion_close(ion), 0);
    EXPECT_EQ(ion_close(ion), -EBADF);
    EXPECT_EQ(ion_alloc_fd(ion, size, 4096, 1, 3, &fd), -EINVAL);
}

}  // namespace
