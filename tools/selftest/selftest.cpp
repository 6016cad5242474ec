#include "tools/selftest/selftest.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <sstream>
#include <vector>

#include "gdc_model/gdc_grid.h"
#include "gdc_model/gdc_planes.h"
#include "hardware/vantorClient/vantor_client.h"
#include "published/hashes.h"
#include "published/inputs.h"
#include "scaler/bicubic_luma.h"

namespace vantor::selftest {
namespace {

using hardware::vantorClient;

/// An NV12 picture in one block, its region all of it.
struct Picture {
    Picture(int width, int height) : bytes(static_cast<size_t>(width * height * 3 / 2), kBlank) {
        data.y = bytes.data();
        data.width = width;
        data.height = height;
        data.cropRight = width - 1;
        data.cropBottom = height - 1;
    }

    void generate(bool isExtreme) { generatePicture(data.width, data.height, isExtreme, bytes); }

    std::vector<uint8_t> bytes;
    vantorClient::BufferData data;
};

uint32_t hashWord(uint32_t hash, uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) hash = hashByte(hash, word >> shift);
    return hash;
}

uint32_t run(const Scaling& request) {
    Picture src(request.srcWidth, request.srcHeight);
    Picture dst(request.dstWidth, request.dstHeight);
    src.generate(request.isExtreme != 0);
    const int status = vantorClient::runInterpBicubic(dst.data, src.data, request.format);
    return status == 0 ? hashOf(dst.bytes) : 0;
}

uint32_t run(const LumaScaling& request) {
    Picture src(request.srcWidth, request.srcHeight);
    std::vector<uint8_t> luma(static_cast<size_t>(request.dstWidth * request.dstHeight));
    src.generate(request.isExtreme != 0);
    const auto scale = [&](auto* kernel) {
        kernel(src.data.y, luma.data(), request.srcWidth, request.srcHeight, request.srcWidth,
               request.dstWidth, request.dstHeight, request.dstWidth);
    };
    if (request.positionBits == 6) {
        scale(interpolateBCY);
    } else {
        scale(interpolateBCY_1);
        scale(interpolateBCY_2);
    }
    return hashOf(luma);
}

template <typename Warp>
uint32_t warped(int width, int height, Warp&& warp) {
    Picture src(width, height);
    Picture dst(width, height);
    src.generate(false);
    return warp(dst.data, src.data) == 0 ? hashOf(dst.bytes) : 0;
}

uint32_t run(const GridWarp& request) {
    vantorClient::_GDCGrid grid;
    generateGrid(request, grid.dX, grid.dY);
    return warped(request.width, request.height, [&](auto& dst, const auto& src) {
        if (const Region& region = request.region; region.width > 0) {
            dst.cropLeft = region.left;
            dst.cropTop = region.top;
            dst.cropRight = region.left + region.width - 1;
            dst.cropBottom = region.top + region.height - 1;
        }
        return vantorClient::runGDCGrid(dst, src, grid, request.format, hardware::GDC_C_MODEL);
    });
}

uint32_t run(const MatrixWarp& request) {
    return warped(request.width, request.height, [&](const auto& dst, const auto& src) {
        return vantorClient::runGDCMatrix(dst, src, request.matrix, hardware::IMAGE_FORMAT_NV12,
                                          hardware::GDC_C_MODEL);
    });
}

uint32_t run(const ModelRun& request) {
    Picture src(request.width, request.height);
    Picture dst(request.region.width, request.region.height);
    src.generate(false);
    int16_t matrix[6];
    std::copy_n(request.matrix, 6, matrix);
    GDCRunnerCModel(matrix, src.data.y, dst.data.y, request.width, request.height, request.whole.width,
                    request.whole.height, request.region.left, request.region.top, request.region.width,
                    request.region.height, request.clamp);
    return hashOf(dst.bytes);
}

uint32_t run(const GridSet& request) {
    double matrix[9] = {};
    std::copy_n(request.matrix, 6, matrix);
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

template <typename... Part>
std::string joined(const Part&... parts) {
    std::ostringstream text;
    (text << ... << parts);
    return text.str();
}

template <typename Number>
std::string joined(const Number (&numbers)[6]) {
    std::string text;
    for (Number number : numbers) text += joined(text.empty() ? " " : ",", number);
    return text;
}

std::string size(int width, int height) {
    return joined(width, "x", height);
}

const char* formatName(int format) {
    return format == hardware::IMAGE_FORMAT_NV12 ? " nv12" : " gray";
}

/// Of any scaling.
template <typename Request>
std::string sizes(const Request& r) {
    return joined(size(r.srcWidth, r.srcHeight), " to ", size(r.dstWidth, r.dstHeight),
                  r.isExtreme ? " extreme" : "");
}

std::string name(const Scaling& r) {
    return joined("scale", formatName(r.format), " ", sizes(r));
}

std::string name(const LumaScaling& r) {
    return joined("luma in 1/", 1 << r.positionBits, " ", sizes(r));
}

std::string name(const Region& r) {
    return joined(size(r.width, r.height), " at ", r.left, ",", r.top);
}

std::string name(const GridWarp& r) {
    return joined("grid", formatName(r.format), " ", size(r.width, r.height), " seed ", r.seed,
                  r.region.width == 0 ? "" : " region " + name(r.region));
}

std::string name(const MatrixWarp& r) {
    return joined("matrix ", size(r.width, r.height), joined(r.matrix));
}

std::string name(const ModelRun& r) {
    return joined("model ", size(r.width, r.height), " to ", name(r.region), " of ",
                  size(r.whole.width, r.whole.height), r.clamp ? " clamped" : "");
}

std::string name(const GridSet& r) {
    return joined("grid set ", size(r.width, r.height), joined(r.matrix), r.clamp ? " clamped" : "");
}

}  // namespace

Result compute(const std::function<void(const Result&)>& report) {
    uint32_t all = kHashStart;
    const auto add = [&](const auto& requests) {
        for (const auto& request : requests) {
            const Result result{name(request), run(request), request.hash};
            all = hashWord(all, result.hash);
            report(result);
        }
    };
    add(kEntry);
    add(kLuma);
    add(kGridWarps);
    add(kMatrixWarps);
    add(kModelRuns);
    add(kGridSets);
    return {"all", all, kHashOverAll};
}

void print(const Result& result) {
    std::printf("%-56s %08x", result.name.c_str(), result.hash);
    if (result.isSame()) {
        std::printf(" ok\n");
    } else {
        std::printf(", expected %08x\n", result.published);
    }
}

}  // namespace vantor::selftest
