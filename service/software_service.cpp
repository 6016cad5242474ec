#include "service/software_service.h"

#include <android/log.h>

#include <exception>
#include <string>
#include <vector>

#include "gdc_model/picture_warp.h"
#include "hardware/vantorClient/vantor_client.h"
#include "service/client_picture.h"

namespace vantor {
namespace {

constexpr int32_t kRefused = -22;  // -EINVAL

/// Runs a request; any error becomes a status and a log line.
template <typename Request>
int32_t guarded(const char* method, Request&& request) {
    try {
        request();
        return 0;
    } catch (const Refusal& refusal) {
        __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "%s refused: %s", method,
                            refusal.text.c_str());
    } catch (const std::exception& error) {
        __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "%s failed: %s", method, error.what());
    }
    return kRefused;
}

hardware::vantorClient::BufferData describe(const Nv12& picture) {
    hardware::vantorClient::BufferData data;
    data.y = picture.luma;
    data.width = picture.width;
    data.height = picture.height;
    return data;
}

void warp(const Nv12& from, const Nv12& to, const SoftwareService::GdcGrid& grid) {
    const GdcFrame frame = requestFrame(from.width, from.height, {0, 0, from.width - 1, from.height - 1});
    std::vector<int32_t> memory(WarpPositions::workingWords(frame));
    const auto src = WarpSourcePlanes::pairs(from.luma, from.chroma(), from.width, from.height);
    const auto dst = WarpOutputPlanes::pairs(to.luma, to.chroma(), to.width, to.height);
    PictureWarp(frame, src, &grid.dX[0][0], &grid.dY[0][0], memory.data()).run(dst);
}

}  // namespace

SoftwareService::Status SoftwareService::runCSC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const Token&) {
    return guarded("runCSC", [&] {
        const ClientPicture src("src", ClientPicture::Access::Read, srcGeometry, srcBuffers);
        const ClientPicture dst("dst", ClientPicture::Access::Write, dstGeometry, dstBuffers);
        MemoryPool::Loan memory(memory_);
        const Nv12 from = memory->src.picture(src.region().width, src.region().height);
        const Nv12 to = memory->dst.picture(dst.region().width, dst.region().height);
        src.read(src.region(), from);
        hardware::vantorClient::runInterpBicubic(describe(to), describe(from), hardware::IMAGE_FORMAT_NV12);
        dst.writeRegion(to, 0, 0);
    });
}

SoftwareService::Status SoftwareService::runGDC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const GdcGrid& grid, const Token&) {
    return guarded("runGDC", [&] {
        const ClientPicture src("src", ClientPicture::Access::Read, srcGeometry, srcBuffers);
        const ClientPicture dst("dst", ClientPicture::Access::Write, dstGeometry, dstBuffers);
        const auto [left, top, width, height] = src.whole();
        if (width != dst.whole().width || height != dst.whole().height) {
            throw Refusal{"src of " + std::to_string(width) + "x" + std::to_string(height) + ", dst of " +
                          std::to_string(dst.whole().width) + "x" + std::to_string(dst.whole().height) +
                          ", expected one size"};
        }
        MemoryPool::Loan memory(memory_);
        const Nv12 from = memory->src.picture(width, height);
        const Nv12 to = memory->dst.picture(width, height);
        src.read(src.whole(), from);
        warp(from, to, grid);
        dst.writeRegion(to, dst.region().left, dst.region().top);
    });
}

}  // namespace vantor
