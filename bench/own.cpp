#include <algorithm>
#include <iterator>
#include <stdexcept>

#include "bench/contender.h"
#include "hardware/vantorClient/vantor_client.h"
#include "scaler/interp4.h"
#include "scaler/interpolate.h"

namespace vantor::bench {
namespace {

using hardware::vantorClient;

/// The entries take planes that they only read as writable.
uint8_t* writable(const uint8_t* plane) {
    return const_cast<uint8_t*>(plane);
}

void reduce(const Picture& src, Picture& dst) {
    const auto [srcWidth, srcHeight] = src.size();
    const auto [dstWidth, dstHeight] = dst.size();
    Interpolate_process(writable(src.y()), writable(src.uv()), dst.y(), dst.uv(), srcWidth, srcHeight,
                        src.stride(), dstWidth, dstHeight, dst.stride(), 0, 0, srcWidth, srcHeight, 0, 0,
                        dstWidth, dstHeight, false);
}

void enlarge(const Picture& src, Picture& dst) {
    const auto [srcWidth, srcHeight] = src.size();
    const auto [dstWidth, dstHeight] = dst.size();
    Interp4_process(writable(src.y()), writable(src.uv()), dst.y(), dst.uv(), srcWidth, srcHeight,
                    src.stride(), dstWidth, dstHeight, dst.stride(), 0, 0, srcWidth, srcHeight, false);
}

vantorClient::BufferData record(const Picture& picture) {
    vantorClient::BufferData record;
    record.y = writable(picture.y());
    record.uv = writable(picture.uv());
    record.width = picture.size().width;
    record.height = picture.size().height;
    record.cropRight = record.width - 1;
    record.cropBottom = record.height - 1;
    return record;
}

vantorClient::_GDCGrid record(const Grid& grid) {
    vantorClient::_GDCGrid record;
    std::copy(std::begin(grid.dX), std::end(grid.dX), record.dX);
    std::copy(std::begin(grid.dY), std::end(grid.dY), record.dY);
    return record;
}

void warp(const vantorClient::_GDCGrid& grid, const Picture& src, Picture& dst) {
    const int32_t status = vantorClient::runGDCGrid(record(dst), record(src), grid,
                                                    hardware::IMAGE_FORMAT_NV12, hardware::GDC_C_MODEL);
    if (status != 0) throw std::runtime_error("runGDCGrid failed");
}

}  // namespace

Scaler ownScaler() {
    return {kOwnName, Filter::FourTaps, [](const Picture& src, Picture& dst) -> Work {
                const bool grows =
                    dst.size().width > src.size().width || dst.size().height > src.size().height;
                return [&src, &dst, grows] { (grows ? enlarge : reduce)(src, dst); };
            }};
}

Warper ownWarper() {
    return {kOwnName, Filter::FourTaps, [](const Grid& grid, const Picture& src, Picture& dst) -> Work {
                return [grid = record(grid), &src, &dst] { warp(grid, src, dst); };
            }};
}

}  // namespace vantor::bench
