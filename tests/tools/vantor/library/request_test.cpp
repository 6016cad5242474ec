// What came of a request, where the service fails and the library falls back, and back ends that see regions.
#include "tools/vantor/library/request.h"

#include "service/model_backend.h"
#include "service/pipe_backend.h"
#include "tests/support.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/library/trace_backend.h"

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

/// A picture of 96x64 in memory, and a region of it.
struct Part {
    explicit Part(uint8_t fill) : bytes(byteCount(PixelFormat::Nv12, {96, 64}), fill) {}
    BackendPicture picture(vantor_rect region) {
        return {{VANTOR_NV12, 96, 64, {bytes.data(), bytes.data() + 96 * 64, nullptr}, {96, 96, 0}}, region};
    }
    std::vector<uint8_t> bytes;
};

constexpr vantor_rect kFrom{20, 10, 32, 16}, kTo{50, 30, 32, 16};

TEST(Backends, RecordRegionsAloneAndRunCommandsOnThem) {
    test::Random random(test::seed());
    Part src(0), dst(9), expected(9);
    src.bytes = random.content(src.bytes.size());
    const vantor_grid grid{{65536}, {}};
    ModelBackend model;
    const std::string directory = ::testing::TempDir() + "vantor-records-" + std::to_string(getpid());
    TraceBackend trace(std::make_shared<TraceDirectory>(directory), "model", std::make_unique<ModelBackend>());
    PipeBackend pipe({"read -r operation sizes; test $operation = scale || dd bs=1 count=8712 of=/dev/null; cat",
                      std::chrono::seconds(60), [](const std::string&) {}});
    for (const bool isWarp : {false, true}) {
        const auto run = [&](vantor::Backend& backend, Part& to) {
            const BackendPicture result = to.picture(kTo), source = src.picture(kFrom);
            ASSERT_EQ(0, isWarp ? backend.warp(result, source, grid) : backend.scale(result, source));
        };
        run(model, expected);
        run(trace, dst);
        EXPECT_EQ(expected.bytes, dst.bytes);
        const std::string file = directory + "/request-00000" + (isWarp ? "2" : "1") + ".vrec";
        const Record record = readRecord(file);
        std::remove(file.c_str());
        const auto zeros = static_cast<size_t>(std::count(record.source.planes.begin(), record.source.planes.end(), 0));
        EXPECT_EQ(isWarp, record.source.planes == src.bytes);
        EXPECT_EQ(isWarp, zeros < src.bytes.size() - 32 * 16 * 3 / 2);
        EXPECT_EQ(record.result.planes[30 * 96 + 50], dst.bytes[30 * 96 + 50]);
        EXPECT_EQ(record.result.planes[30 * 96 + 49], 0);
        EXPECT_EQ(record.result.region.bottom, 45);
        // A command that copies: of a scaling the regions, of a warp the picture.
        run(pipe, dst);
        const int x = isWarp ? 50 : 20, y = isWarp ? 30 : 10;
        for (const auto& [to, from] :
             {std::pair(45 * 96 + 81, (y + 15) * 96 + x + 31), std::pair((64 + 15) * 96 + 50, (64 + y / 2) * 96 + x)}) {
            EXPECT_EQ(dst.bytes[static_cast<size_t>(to)], src.bytes[static_cast<size_t>(from)]);
        }
        EXPECT_EQ(9, dst.bytes[45 * 96 + 82]);
    }
    rmdir(directory.c_str());
}

}  // namespace
}  // namespace vantor::tool
