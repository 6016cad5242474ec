// vantor-old-and-new OLD NEW [SECONDS]: two builds of libVantor10, loaded side by side. For each case of the
// benchmark they take turns, for a second or as many as given, and the minimum CPU time of each counts:
// prints both and their ratio, and fails where their bytes differ.
#include <dlfcn.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "bench/cases.h"
#include "hardware/vantorClient/vantor_client.h"

namespace vantor::bench {
namespace {

using hardware::vantorClient;
using Buffer = vantorClient::BufferData;

constexpr double kLargestRatio = 1.03;

/// The entries of one build.
struct Build {
    int32_t (*scale)(const Buffer& dst, const Buffer& src, int32_t format);
    int32_t (*warp)(const Buffer& dst, const Buffer& src, const vantorClient::_GDCGrid& grid, int32_t format,
                    int32_t target);
};

template <typename Function>
void find(void* library, const char* name, Function& function) {
    function = reinterpret_cast<Function>(dlsym(library, name));
    if (function) return;
    std::fprintf(stderr, "%s\n", dlerror());
    std::exit(2);
}

Build load(const char* path) {
    void* library = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    if (!library) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(2);
    }
    Build build;
    find(library, "_ZN8hardware12vantorClient16runInterpBicubicERKNS0_10BufferDataES3_i", build.scale);
    find(library, "_ZN8hardware12vantorClient10runGDCGridERKNS0_10BufferDataES3_RKNS0_8_GDCGridEii",
         build.warp);
    return build;
}

Buffer record(const Picture& picture) {
    Buffer record;
    record.y = const_cast<uint8_t*>(picture.y());
    record.uv = const_cast<uint8_t*>(picture.uv());
    record.width = picture.size().width;
    record.height = picture.size().height;
    record.cropRight = record.width - 1;
    record.cropBottom = record.height - 1;
    return record;
}

/// CPU time of this process, threads included.
double now() {
    timespec time;
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

class Comparison {
public:
    Comparison(const char* oldPath, const char* newPath, double seconds)
        : builds_{load(oldPath), load(newPath)}, seconds_(seconds) {
        std::printf("%-32s %12s %12s %6s\n", "microseconds per call", "old", "new", "ratio");
    }

    void scale(const ScaleCase& scaling) {
        run(scaling.name, scaling.src, scaling.dst,
            [](const Build& build, const Buffer& dst, const Buffer& src) {
                return build.scale(dst, src, hardware::IMAGE_FORMAT_NV12);
            });
    }

    void warp(const WarpCase& warp) {
        const Grid grid = warp.makeGrid(warp.size);
        vantorClient::_GDCGrid nodes;
        std::copy(std::begin(grid.dX), std::end(grid.dX), nodes.dX);
        std::copy(std::begin(grid.dY), std::end(grid.dY), nodes.dY);
        run(warp.name, warp.size, warp.size, [&](const Build& build, const Buffer& dst, const Buffer& src) {
            return build.warp(dst, src, nodes, hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
        });
    }

    int status() const {
        std::printf("%d of the ratios are above %.2f\n", slower_, kLargestRatio);
        return areEqual_ ? 0 : 1;
    }

private:
    using Call = std::function<int32_t(const Build&, const Buffer& dst, const Buffer& src)>;

    void run(const std::string& name, Size srcSize, Size dstSize, const Call& call) {
        const Picture src = makeScene(srcSize);
        const Picture dst[] = {Picture(dstSize), Picture(dstSize)};
        double least[] = {1e9, 1e9};
        const double start = now();
        int rounds = 0;
        do {
            for (const int turn : {rounds % 2, 1 - rounds % 2}) {
                const double before = now();
                if (call(builds_[turn], record(dst[turn]), record(src)) != 0) std::exit(2);
                least[turn] = std::min(least[turn], now() - before);
            }
        } while (++rounds < kLeastRounds || now() - start < seconds_);
        const double ratio = least[1] / least[0];
        slower_ += ratio > kLargestRatio;
        const bool isEqual = std::memcmp(dst[0].y(), dst[1].y(), dstSize.pixels()) == 0 &&
                             std::memcmp(dst[0].uv(), dst[1].uv(), dstSize.pixels() / 2) == 0;
        areEqual_ &= isEqual;
        std::printf("%-32s %12.1f %12.1f %6.3f%s%s\n", name.c_str(), least[0] * 1e6, least[1] * 1e6, ratio,
                    ratio > kLargestRatio ? " slower" : "", isEqual ? "" : ": the bytes differ");
        std::fflush(stdout);
    }

    static constexpr int kLeastRounds = 10;

    Build builds_[2];
    double seconds_;
    int slower_ = 0;
    bool areEqual_ = true;
};

}  // namespace
}  // namespace vantor::bench

int main(int argc, char** argv) {
    using namespace vantor::bench;
    const double seconds = argc == 4 ? std::atof(argv[3]) : 1;
    if (argc < 3 || argc > 4 || !(seconds > 0)) {
        std::fputs("usage: vantor-old-and-new OLD NEW [SECONDS], both a path of libVantor10.so\n", stderr);
        return 2;
    }
    Comparison comparison(argv[1], argv[2], seconds);
    for (const ScaleCase& scaling : scaleCases()) comparison.scale(scaling);
    for (const ScaleCase& scaling : scaleSweep()) comparison.scale(scaling);
    for (const WarpCase& warp : warpCases()) comparison.warp(warp);
    for (const WarpCase& warp : warpSweep()) comparison.warp(warp);
    return comparison.status();
}
