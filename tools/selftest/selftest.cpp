// vantor-selftest: whether the library gives the published bytes on this machine. Needs nothing but the
// library, so that it runs on the device as well.
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "gdc_model/gdc_grid.h"
#include "hardware/vantorClient/vantor_client.h"
#include "scaler/bicubic_luma.h"
#include "tools/selftest/published.h"

namespace vantor::selftest {
namespace {

using hardware::vantorClient;

constexpr uint32_t kHashStart = 2166136261;

/// An NV12 picture in one block, its region all of it.
struct Picture {
    Picture(int width, int height) : bytes(static_cast<size_t>(width * height * 3 / 2), 0xA5) {
        data.y = bytes.data();
        data.width = width;
        data.height = height;
        data.cropRight = width - 1;
        data.cropBottom = height - 1;
    }

    void generate(bool isExtreme) {
        auto x = static_cast<uint32_t>(data.width * 65536 + data.height);
        for (uint8_t& byte : bytes) {
            x = generatorStep(x);
            byte = static_cast<uint8_t>(isExtreme ? (x >> 31) * 255 : x >> 24);
        }
    }

    std::vector<uint8_t> bytes;
    vantorClient::BufferData data;
};

uint32_t hashByte(uint32_t hash, uint32_t byte) {
    return static_cast<uint32_t>((hash ^ (byte & 255)) * uint64_t{16777619});
}

uint32_t hashWord(uint32_t hash, uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) hash = hashByte(hash, word >> shift);
    return hash;
}

uint32_t hashOf(const std::vector<uint8_t>& bytes) {
    uint32_t hash = kHashStart;
    for (uint8_t byte : bytes) hash = hashByte(hash, byte);
    return hash;
}

/// Compares and reports one result at a time, and hashes all of them together.
class Report {
public:
    void add(const std::string& name, int width, int height, uint32_t actual, uint32_t published) {
        const bool isRight = actual == published;
        std::printf("%-8s %4dx%-4d %08x %s\n", name.c_str(), width, height, actual, isRight ? "ok" : "WRONG");
        all_ = hashWord(all_, actual);
        (isRight ? right_ : wrong_)++;
    }

    int finish() const {
        std::printf("all: %08x; %d right, %d wrong\n", all_, right_, wrong_);
        return wrong_ == 0 ? 0 : 1;
    }

private:
    uint32_t all_ = kHashStart;
    int right_ = 0;
    int wrong_ = 0;
};

uint32_t run(const Scaling& request, bool isLuma) {
    Picture src(request.srcWidth, request.srcHeight);
    Picture dst(request.dstWidth, request.dstHeight);
    src.generate(request.isExtreme != 0);
    if (!isLuma)
        return vantorClient::runInterpBicubic(dst.data, src.data, request.format) == 0 ? hashOf(dst.bytes)
                                                                                       : 0;
    const auto scale = [&](auto* kernel) {
        kernel(src.data.y, dst.data.y, request.srcWidth, request.srcHeight, request.srcWidth,
               request.dstWidth, request.dstHeight, request.dstWidth);
    };
    if (request.format == 6) {
        scale(interpolateBCY);
    } else {
        scale(interpolateBCY_1);
        scale(interpolateBCY_2);
    }
    dst.bytes.resize(static_cast<size_t>(request.dstWidth * request.dstHeight));
    return hashOf(dst.bytes);
}

template <typename Warp>
uint32_t warped(int width, int height, Warp&& warp) {
    Picture src(width, height);
    Picture dst(width, height);
    src.generate(false);
    return warp(dst.data, src.data) == 0 ? hashOf(dst.bytes) : 0;
}

uint32_t run(const GridWarp& request) {
    uint32_t x = request.seed;
    const auto node = [&] {
        x = generatorStep(x);
        const int64_t range = 2 * request.amplitude + 1;
        return static_cast<int32_t>(request.amplitude == kRaw ? x : (x >> 8) % range - request.amplitude);
    };
    vantorClient::_GDCGrid grid;
    for (int k = 0; k < 1089; ++k) {
        grid.dX[k] = node();
        grid.dY[k] = node();
    }
    return warped(request.width, request.height, [&](const auto& dst, const auto& src) {
        return vantorClient::runGDCGrid(dst, src, grid, hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
    });
}

uint32_t run(const MatrixWarp& request) {
    return warped(request.width, request.height, [&](const auto& dst, const auto& src) {
        return vantorClient::runGDCMatrix(dst, src, request.matrix, hardware::IMAGE_FORMAT_NV12,
                                          hardware::GDC_C_MODEL);
    });
}

uint32_t run(const GridSet& request) {
    double matrix[9] = {};
    for (int i = 0; i < 6; ++i) matrix[i] = request.matrix[i];
    std::vector<_pos> points(1089);
    std::array<int, 6> s{};
    getGridSet(request.width, request.height, matrix, points.data(), &s[0], &s[1], &s[2], &s[3], &s[4], &s[5],
               request.clamp);
    for (size_t i = 0; i < s.size(); ++i) {
        if (s[i] != request.scales[i]) return 0;
    }
    uint32_t hash = kHashStart;
    for (const _pos& point : points) {
        hash = hashWord(hash, static_cast<uint32_t>(static_cast<int>(point.x)));
        hash = hashWord(hash, static_cast<uint32_t>(static_cast<int>(point.y)));
    }
    return hash;
}

int runAll() {
    Report report;
    for (const Scaling& r : kEntry) report.add("scale", r.dstWidth, r.dstHeight, run(r, false), r.hash);
    for (const Scaling& r : kLuma) report.add("luma", r.dstWidth, r.dstHeight, run(r, true), r.hash);
    for (const GridWarp& r : kGridWarps) report.add("grid", r.width, r.height, run(r), r.hash);
    for (const MatrixWarp& r : kMatrixWarps) report.add("matrix", r.width, r.height, run(r), r.hash);
    for (const GridSet& r : kGridSets) report.add("gridset", r.width, r.height, run(r), r.hash);
    return report.finish();
}

}  // namespace
}  // namespace vantor::selftest

int main() {
    return vantor::selftest::runAll();
}
