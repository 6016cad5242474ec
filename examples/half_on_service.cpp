// half_on_service WIDTH HEIGHT: halves a raw NV12 picture, from standard input to standard output, on the
// hardware's service. Here that is the software service; its buffers are memory files, as they would be the
// device's shared ones.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "hardware/vantorClient/vantor_client.h"
#include "service/start_software_service.h"

using hardware::vantorClient;

namespace {

size_t byteCount(const vantorClient::BufferData& picture) {
    return static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) * 3 / 2;
}

/// In a memory file, mapped, with the whole picture as region of interest.
vantorClient::BufferData nv12(int width, int height) {
    vantorClient::BufferData picture;
    picture.width = width;
    picture.height = height;
    picture.cropRight = width - 1;
    picture.cropBottom = height - 1;
    picture.fdY = memfd_create("picture", MFD_CLOEXEC);
    void* address = MAP_FAILED;
    if (picture.fdY >= 0 && ftruncate(picture.fdY, static_cast<off_t>(byteCount(picture))) == 0) {
        address = mmap(nullptr, byteCount(picture), PROT_READ | PROT_WRITE, MAP_SHARED, picture.fdY, 0);
    }
    if (address == MAP_FAILED) {
        std::perror("half_on_service");
        std::exit(1);
    }
    picture.y = static_cast<uint8_t*>(address);
    return picture;
}

}  // namespace

int main(int argc, char** argv) {
    const int width = argc == 3 ? std::atoi(argv[1]) : 0;
    const int height = argc == 3 ? std::atoi(argv[2]) : 0;
    if (width < 16 || width > 8192 || width % 4 != 0 || height < 16 || height > 8192 || height % 4 != 0) {
        std::fputs("usage: half_on_service WIDTH HEIGHT <FROM >TO, both 16 to 8192 and multiples of 4\n",
                   stderr);
        return 2;
    }
    vantor::startSoftwareService();
    if (vantorClient::init() != 0) return 1;
    const auto src = nv12(width, height);
    const auto dst = nv12(width / 2, height / 2);
    if (std::fread(src.y, 1, byteCount(src), stdin) != byteCount(src)) {
        std::fprintf(stderr, "half_on_service: expected %zu bytes\n", byteCount(src));
        return 2;
    }
    if (vantorClient::runCSC(dst, src, hardware::IMAGE_FORMAT_NV12) != 0) return 1;
    const bool isWritten =
        std::fwrite(dst.y, 1, byteCount(dst), stdout) == byteCount(dst) && std::fflush(stdout) == 0;
    return isWritten ? 0 : 1;
}
