// What came of a request, where the service fails and the library falls back.
#include "tools/vantor/library/request.h"

#include "tests/support.h"
#include "tools/vantor/base/error.h"

namespace vantor::tool {

namespace {

TEST(Request, AFailedFallbackMadeNoPicture) {
    constexpr int kNoDescriptor = 1000;  // which the service cannot use
    const Size size{64, 48};
    std::vector<uint8_t> from(byteCount(PixelFormat::Nv12, size), 7), to(from.size());
    WorkingPicture src{planesIn(packedShape(PixelFormat::Nv12, size), from.data()), fullRegion(size), kNoDescriptor};
    WorkingPicture dst{planesIn(packedShape(PixelFormat::Nv12, size), to.data()), fullRegion(size), kNoDescriptor};
    const RequestResult fallback = ask(scalingRequest(Backend::Hardware), dst, src);
    EXPECT_NE(fallback.status, 0);
    EXPECT_TRUE(fallback.isMade);
    EXPECT_EQ(to, from);
    src.planes.luma = nullptr;
    const RequestResult failed = ask(scalingRequest(Backend::Hardware), dst, src);
    EXPECT_NE(failed.status, 0);
    EXPECT_FALSE(failed.isMade);
    src.planes.luma = from.data();
    EXPECT_TRUE(ask(scalingRequest(Backend::Hardware), dst, src).isMade);  // and nothing is left of that
}

}  // namespace
}  // namespace vantor::tool
