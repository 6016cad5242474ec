// Many requests of many kinds in one process: the same bytes each time, and neither memory nor descriptors that add up.

#include <filesystem>

#include "tests/support.h"

namespace vantor::test {
namespace {

using hardware::vantorClient;

#if defined(__arm__) || defined(__aarch64__) || defined(__SANITIZE_THREAD__)
constexpr int kPasses = 3;  // emulated, or slow
#else
constexpr int kPasses = 150;
#endif

struct Request {
    int srcWidth;
    int srcHeight;
    int dstWidth;
    int dstHeight;
    int32_t format;
    bool isWarp;
};

constexpr Request kRequests[] = {
    {192, 128, 128, 86, hardware::IMAGE_FORMAT_NV12, false},     // reduced
    {192, 128, 96, 64, hardware::IMAGE_FORMAT_NV12, false},      // to exactly one half
    {192, 128, 288, 192, hardware::IMAGE_FORMAT_NV12, false},    // enlarged
    {192, 128, 192, 128, hardware::IMAGE_FORMAT_NV12, false},    // copied
    {201, 55, 97, 31, hardware::IMAGE_FORMAT_GRAYSCALE, false},  // odd sizes
    {101, 77, 208, 154, hardware::IMAGE_FORMAT_GRAYSCALE, false},
    {192, 128, 192, 128, hardware::IMAGE_FORMAT_NV12, true},
    {96, 64, 96, 64, hardware::IMAGE_FORMAT_GRAYSCALE, true},
};

vantorClient::_GDCGrid wavyGrid(Random& random) {
    vantorClient::_GDCGrid grid;
    for (int32_t& move : grid.dX) move = random.between(-20000, 20000);
    for (int32_t& move : grid.dY) move = random.between(-20000, 20000);
    return grid;
}

/// The output's bytes; those behind a gray picture's luma are scratch.
std::vector<uint8_t> run(const Request& request, const std::vector<uint8_t>& source,
                         const vantorClient::_GDCGrid& grid) {
    std::vector<uint8_t> from, to;
    vantorClient::BufferData src = wholePicture(from, request.srcWidth, request.srcHeight);
    const vantorClient::BufferData dst = wholePicture(to, request.dstWidth, request.dstHeight);
    std::copy_n(source.begin(), from.size(), src.y);
    const int32_t status = request.isWarp
                               ? vantorClient::runGDCGrid(dst, src, grid, request.format, hardware::GDC_C_MODEL)
                               : vantorClient::runInterpBicubic(dst, src, request.format);
    EXPECT_EQ(status, 0);
    if (request.format == hardware::IMAGE_FORMAT_GRAYSCALE) to.resize(static_cast<size_t>(dst.width * dst.height));
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
    Random random(seed());
    const std::vector<uint8_t> source = random.content(1 << 17);
    const vantorClient::_GDCGrid grid = wavyGrid(random);
    std::vector<std::vector<uint8_t>> first;
    for (const Request& request : kRequests) first.push_back(run(request, source, grid));
    [[maybe_unused]] const long pages = residentPages();
    const long descriptors = openDescriptors();
    for (int pass = 0; pass < kPasses && !HasFailure(); ++pass) {
        for (size_t i = 0; i < first.size(); ++i) {
            const size_t request = (i * 5 + static_cast<size_t>(pass)) % first.size();  // in changing order
            ASSERT_TRUE(run(kRequests[request], source, grid) == first[request])
                << "request " << request << ", pass " << pass << ", seed " << seed();
        }
    }
    EXPECT_EQ(openDescriptors(), descriptors);
#if !defined(VANTOR_SANITIZED) && defined(__x86_64__)
    EXPECT_LT(residentPages() - pages, 256) << "4 KB pages";
#endif
}

}  // namespace
}  // namespace vantor::test
