// What Debian has no libraries for: results of calls, shared buffers, and null strong pointers.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <ion/ion.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <csignal>
#include <limits>

namespace {

using namespace android::hardware;
using namespace vendor::norlake::hardware::vantorService::V1_0;
using android::sp;
using android::hidl::base::V1_0::IBase;

static_assert(sizeof(ImageGeometry) == 24 && sizeof(GdcGrid) == 8712 && offsetof(GdcGrid, dY) == 4356);

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

/// The lowest free descriptor: the same as before, unless one was kept.
int lowestFree() {
    const int fd = dup(STDERR_FILENO);
    close(fd);
    return fd;
}

TEST(PlatformIon, KeepsNothingOfABufferThatCannotBeSized) {
    const int ion = ion_open();
    const int before = lowestFree();
    int fd = -7;
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    EXPECT_EQ(ion_alloc_fd(ion, 1 << 20, 4096, 1, 3, &fd), -EFBIG);
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    std::signal(SIGXFSZ, handler);
    EXPECT_TRUE(fd == -7 && lowestFree() == before);
    ion_close(ion);
}

TEST(PlatformIon, GivesHalfOfTheMemoryAtMost) {
    const int ion = ion_open();
    int fd = -1;
    const auto half = static_cast<uint64_t>(sysconf(_SC_PHYS_PAGES) / 2) * static_cast<uint64_t>(sysconf(_SC_PAGESIZE));
    if (half < static_cast<uint64_t>(std::numeric_limits<off_t>::max())) {
        EXPECT_EQ(ion_alloc_fd(ion, static_cast<size_t>(half + 1), 4096, 1, 3, &fd), -ENOMEM);
        EXPECT_EQ(ion_alloc_fd(ion, static_cast<size_t>(half), 4096, 1, 3, &fd), 0);  // none of it is used
        close(fd);
    }
    ion_close(ion);
}

TEST(PlatformHidlHandle, ClosesTheDescriptorsThatItOwnsAlone) {
    native_handle_t* given = native_handle_create(1, 0);
    given->data[0] = open("/dev/null", O_RDONLY);
    const int before = lowestFree();
    {
        const hidl_handle borrower(given);
        hidl_handle copy(borrower);  // owns duplicates
        EXPECT_NE(copy->data[0], given->data[0]);
        hidl_handle moved(std::move(copy));
        EXPECT_EQ(copy.getNativeHandle(), nullptr);
        copy = moved;
        moved = given;
        copy = borrower;
    }
    EXPECT_EQ(lowestFree(), before);
    EXPECT_EQ(fcntl(given->data[0], F_GETFD), 0);
    const int fd = given->data[0];
    { hidl_handle().setTo(given, true); }
    EXPECT_EQ(fcntl(fd, F_GETFD), -1);
}

}  // namespace
