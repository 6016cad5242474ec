// half_client WIDTH HEIGHT: halves a raw NV12 picture, from standard input to standard output, through the
// interface of the device's clients.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "hardware/vantorClient/vantor_client.h"

using hardware::vantorClient;

namespace {

vantorClient::BufferData nv12(std::vector<uint8_t>& bytes, int width, int height) {
    bytes.resize(static_cast<size_t>(width) * static_cast<size_t>(height) * 3 / 2);
    vantorClient::BufferData picture;
    picture.y = bytes.data();
    picture.width = width;
    picture.height = height;
    return picture;
}

}  // namespace

int main(int argc, char** argv) {
    const int width = argc == 3 ? std::atoi(argv[1]) : 0;
    const int height = argc == 3 ? std::atoi(argv[2]) : 0;
    if (width < 16 || width > 8192 || width % 4 != 0 || height < 16 || height > 8192 || height % 4 != 0) {
        std::fputs("usage: half_client WIDTH HEIGHT <FROM >TO, both 16 to 8192 and multiples of 4\n", stderr);
        return 2;
    }
    std::vector<uint8_t> from, to;
    const auto src = nv12(from, width, height);
    const auto dst = nv12(to, width / 2, height / 2);
    if (std::fread(from.data(), 1, from.size(), stdin) != from.size()) {
        std::fprintf(stderr, "half_client: expected %zu bytes\n", from.size());
        return 2;
    }
    if (vantorClient::runInterpBicubic(dst, src, hardware::IMAGE_FORMAT_NV12) != 0) return 1;
    const bool isWritten =
        std::fwrite(to.data(), 1, to.size(), stdout) == to.size() && std::fflush(stdout) == 0;
    return isWritten ? 0 : 1;
}
