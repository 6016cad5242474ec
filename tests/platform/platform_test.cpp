// What the stand-in has in common with the platform's own libraries: scripts/conformance.sh runs this file with them.
#include <android/log.h>
#include <cutils/native_handle.h>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utils/RefBase.h>

#include <cerrno>
#include <functional>
#include <string>
#include <thread>

namespace {

using android::RefBase;
using android::sp;

std::string events;

struct Witness : public RefBase {
    std::function<void()> last = [] { events += " last"; };
    ~Witness() override { events += " deleted"; }
    void onFirstRef() override { events += " first"; }
    void onLastStrongRef(const void*) override { last(); }
};

TEST(PlatformLog, WritesTagAndText) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(__android_log_print(ANDROID_LOG_ERROR, "TAG", "%d of %s", 3, "many"), 1);
    const std::string line = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(line.find("TAG") < line.find("3 of many\n")) << line;
}

TEST(PlatformSp, CountsReferencesFromSeveralThreads) {
    sp<Witness> a = new Witness;
    const auto work = [a] {
        for (int round = 0; round < 1000; round++) sp<RefBase> another = a;
    };
    std::thread one(work), two(work);
    one.join();
    two.join();
    EXPECT_EQ(a->getStrongCount(), 2);  // with the one in `work`
    sp<RefBase> b(a), c;
    c = a;
    sp<RefBase> d(std::move(a)), e(std::move(b));
    EXPECT_TRUE(a == nullptr && !b && d == e && d != b);
    c = std::move(e);
    EXPECT_EQ(c->getStrongCount(), 3);
}

TEST(PlatformSp, TakesTheNewObjectBeforeItReleasesTheOldOne) {
    events.clear();
    sp<Witness> pointer = new Witness;
    pointer = new Witness;
    pointer = *&pointer;
    EXPECT_EQ(events, " first first last deleted");
    pointer.clear();
    EXPECT_EQ(events, " first first last deleted last deleted");
}

TEST(PlatformDeathTest, ReportsAChangeDuringAnAssignment) {
    auto* object = new Witness;
    sp<Witness> pointer = object;
    object->last = [&pointer] { new sp<Witness>(std::move(pointer)); };
    EXPECT_DEATH(pointer = new Witness, "F sp: |sp F ");
    EXPECT_DEATH(pointer = sp<Witness>(), "F sp: |sp F ");
    EXPECT_DEATH(pointer.clear(), "F sp: |sp F ");
    object->last = [] {};
}

TEST(PlatformNativeHandle, HasLimitsAndClosesDescriptorsOnlyWhenTold) {
    for (int wrong : {-1, 1025}) EXPECT_TRUE(!native_handle_create(wrong, 0) && !native_handle_create(0, wrong));
    EXPECT_EQ(native_handle_delete(native_handle_create(1024, 1024)), 0);
    EXPECT_TRUE(native_handle_delete(nullptr) == 0 && native_handle_close(nullptr) == 0);

    native_handle_t* handle = native_handle_create(1, 1);
    const int fd = handle->data[0] = open("/dev/null", O_RDONLY);
    handle->data[1] = 42;
    native_handle_t* clone = native_handle_clone(handle);
    EXPECT_TRUE(native_handle_delete(handle) == 0 && close(fd) == 0);
    EXPECT_TRUE(clone->version == 12 && clone->numFds == 1 && clone->numInts == 1 && clone->data[1] == 42);
    clone->version = 11;
    EXPECT_TRUE(native_handle_close(clone) == -EINVAL && native_handle_delete(clone) == -EINVAL);
    clone->version = 12;
    EXPECT_EQ(native_handle_close(clone), 0);
    EXPECT_EQ(close(clone->data[0]), -1);
    EXPECT_EQ(native_handle_delete(clone), 0);
}

TEST(PlatformNativeHandle, KeepsNothingOfACloneThatFails) {
    native_handle_t* handle = native_handle_create(2, 0);
    const int fd = handle->data[0] = open("/dev/null", O_RDONLY);
    handle->data[1] = -1;
    const int lowestFree = dup(fd);
    EXPECT_EQ(close(lowestFree), 0);
    EXPECT_EQ(native_handle_clone(handle), nullptr);
    EXPECT_EQ(dup(fd), lowestFree);
    EXPECT_EQ(close(lowestFree) + native_handle_close(handle) + native_handle_delete(handle), 0);
}

}  // namespace
