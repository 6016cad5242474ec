// Many requests of many kinds in one process: the same bytes each time, and neither memory nor descriptors that add up.

#include <chrono>
#include <filesystem>

#include "service/start_software_service.h"
#include "tests/support.h"

namespace vantor::test {
namespace {

using hardware::vantorClient;
using Bytes = std::vector<uint8_t>;

#if defined(__x86_64__) && !defined(__SANITIZE_THREAD__)
constexpr int kRequests = 2000;
#else
constexpr int kRequests = 60;  // emulated, or slow
#endif

enum class Kind { Scale, Grid, Matrix };
enum class Path { Software, Service };
constexpr int32_t kGray = hardware::IMAGE_FORMAT_GRAYSCALE, kNv12 = hardware::IMAGE_FORMAT_NV12;

struct Request {
    Kind kind;
    Path path;
    int32_t format;
    int srcWidth, srcHeight, dstWidth, dstHeight;
    int32_t status = 0;
};

constexpr Request kMixed[] = {
    {Kind::Scale, Path::Software, kNv12, 192, 128, 128, 86},   // reduced
    {Kind::Scale, Path::Service, kNv12, 192, 128, 128, 86},    // as above
    {Kind::Scale, Path::Software, kNv12, 192, 128, 96, 64},    // to exactly one half
    {Kind::Scale, Path::Software, kNv12, 192, 128, 288, 192},  // enlarged
    {Kind::Scale, Path::Service, kNv12, 192, 128, 288, 192},   // as above
    {Kind::Scale, Path::Software, kNv12, 192, 128, 192, 128},  // copied
    {Kind::Scale, Path::Software, kGray, 201, 55, 97, 31},     // odd sizes
    {Kind::Scale, Path::Software, kGray, 101, 77, 208, 154},
    {Kind::Grid, Path::Software, kNv12, 192, 128, 192, 128},
    {Kind::Grid, Path::Service, kNv12, 192, 128, 192, 128},  // as above
    {Kind::Grid, Path::Software, kGray, 96, 64, 96, 64},
    {Kind::Matrix, Path::Software, kNv12, 112, 66, 112, 66},
    {Kind::Matrix, Path::Software, kGray, 112, 66, 112, 66},
    {Kind::Scale, Path::Service, kNv12, 101, 77, 64, 48, -38},   // odd sizes are refused
    {Kind::Scale, Path::Software, 7, 64, 48, 32, 24, -38},       // as are unknown formats,
    {Kind::Grid, Path::Software, kNv12, 192, 128, 96, 64, -38},  // warps of two sizes,
    {Kind::Matrix, Path::Service, kGray, 88, 66, 88, 66, -38},   // and of small ones
};
constexpr Request kLeaking = {Kind::Scale, Path::Service, kGray, 64, 48, 32, 24};

vantorClient::_GDCGrid wavyGrid(Random& random) {
    vantorClient::_GDCGrid grid;
    for (int32_t& value : grid.dX) value = random.between(-20000, 20000);
    for (int32_t& value : grid.dY) value = random.between(-20000, 20000);
    return grid;
}

/// The output's bytes; those after a gray picture's luma are scratch. Both pictures touch a guard.
Bytes run(const Request& request, const Bytes& source, const vantorClient::_GDCGrid& grid, Guard guard) {
    constexpr int16_t kMatrix[] = {4000, 300, 50, -300, 4000, -70};
    Bytes from, to;
    vantorClient::BufferData src = wholePicture(from, request.srcWidth, request.srcHeight);
    vantorClient::BufferData dst = wholePicture(to, request.dstWidth, request.dstHeight);
    from.assign(source.begin(), source.begin() + static_cast<std::ptrdiff_t>(from.size()));
    GuardedPlane given(from, guard), made(to, guard);
    src.y = given.data(), dst.y = made.data();
    const bool isShared = request.path == Path::Service;
    if (isShared) {
        src.fdY = memfd_create("source", 0), dst.fdY = memfd_create("destination", 0);
        EXPECT_EQ(write(src.fdY, from.data(), from.size()), static_cast<ssize_t>(from.size()));
        EXPECT_EQ(write(dst.fdY, to.data(), to.size()), static_cast<ssize_t>(to.size()));
    }
    const int32_t target = isShared ? hardware::GDC_HW : hardware::GDC_C_MODEL;
    const int32_t status = request.kind == Kind::Grid ? vantorClient::runGDCGrid(dst, src, grid, request.format, target)
                           : request.kind == Kind::Matrix
                               ? vantorClient::runGDCMatrix(dst, src, kMatrix, request.format, target)
                           : isShared ? vantorClient::runCSC(dst, src, request.format)
                                      : vantorClient::runInterpBicubic(dst, src, request.format);
    EXPECT_EQ(status, request.status);
    to = made.bytes();
    if (isShared) {
        EXPECT_EQ(pread(dst.fdY, to.data(), to.size(), 0), static_cast<ssize_t>(to.size()));
        close(src.fdY), close(dst.fdY);
    }
    if (request.format == kGray) to.resize(static_cast<size_t>(dst.width * dst.height));
    return to;
}

long residentPages() {
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident;
}

long openDescriptors() {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::distance(begin(descriptors), end(descriptors));
}

TEST(Soak, RequestsGiveTheSameBytesAndLeaveNothingBehind) {
    setenv("VANTOR_LOG", "off", 1);
    startSoftwareService();
    ASSERT_EQ(0, vantorClient::init());
    Random random(seed());
    const Bytes source = random.content(1 << 17);
    const vantorClient::_GDCGrid grid = wavyGrid(random);
    std::vector<Bytes> first;
    for (const Request& request : kMixed) first.push_back(run(request, source, grid, Guard::Back));
    for (const size_t i : {size_t{1}, size_t{4}, size_t{9}})
        EXPECT_TRUE(first[i] == first[i - 1]) << "the service's " << i << ", seed " << seed();

    const char* given = std::getenv("VANTOR_REQUESTS");
    const int requests = given ? std::atoi(given) : kRequests;
    const auto start = std::chrono::steady_clock::now();
    const long descriptors = openDescriptors();
    long pages = 0;
    for (int i = 0; i < requests && !HasFailure(); ++i) {
        if (i == requests / 10) pages = residentPages();
        ASSERT_EQ(0, vantorClient::init() | vantorClient::deinit());
        const auto next = static_cast<size_t>(random.between(0, static_cast<int>(first.size()) - 1));
        ASSERT_TRUE(run(kMixed[next], source, grid, i % 2 ? Guard::Front : Guard::Back) == first[next])
            << "request " << next << ", seed " << seed();
        EXPECT_EQ(openDescriptors(), descriptors);
    }
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
    std::printf("%d requests in %.0f s: %ld pages resident after a tenth, %ld at the end; %ld descriptors\n", requests,
                seconds.count(), pages, residentPages(), descriptors);
#if !defined(VANTOR_SANITIZED) && defined(__x86_64__)
    EXPECT_LT(residentPages() - pages, 256) << "4 KB pages";
#endif
    // Of every imported gray picture the buffer that is allocated for its chroma stays open.
    for (int i = 1; i <= 20; ++i) {
        run(kLeaking, source, grid, Guard::Back);
        EXPECT_EQ(openDescriptors(), descriptors + 2 * i);
    }
}

}  // namespace
}  // namespace vantor::test
