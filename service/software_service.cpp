#include "service/software_service.h"

#include <android/log.h>

#include <exception>
#include <mutex>
#include <new>

#include "gdc_model/picture_warp.h"
#include "hardware/vantorClient/vantor_client.h"
#include "service/mapped_picture.h"

namespace vantor {
namespace {

constexpr int32_t kRefused = -22;  // -EINVAL

/// Runs a request; whatever goes wrong becomes a status and a line.
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

hardware::vantorClient::BufferData describe(Nv12& picture) {
    hardware::vantorClient::BufferData data;
    data.y = picture.bytes.data();
    data.width = picture.width;
    data.height = picture.height;
    return data;
}

/// The model has one state in a process, whatever the number of services.
std::mutex modelMutex;

Nv12 warped(const Nv12& picture, const SoftwareService::GdcGrid& grid) {
    Nv12 result(picture.width, picture.height);
    const size_t luma = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height);
    const uint8_t* const from = picture.bytes.data();
    uint8_t* const to = result.bytes.data();
    if (!warpPicture(picture.width, picture.height, {0, 0, picture.width - 1, picture.height - 1},
                     {from, from + luma}, {to, to + luma}, &grid.dX[0][0], &grid.dY[0][0])) {
        throw std::bad_alloc();
    }
    return result;
}

}  // namespace

SoftwareService::Status SoftwareService::runCSC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const Token&) {
    return guarded("runCSC", [&] {
        const MappedPicture src("src", MappedPicture::Access::Read, srcGeometry, srcBuffers);
        MappedPicture dst("dst", MappedPicture::Access::Write, dstGeometry, dstBuffers);
        Nv12 from = src.region();
        Nv12 to(dst.regionWidth(), dst.regionHeight());
        hardware::vantorClient::runInterpBicubic(describe(to), describe(from), hardware::IMAGE_FORMAT_NV12);
        dst.setRegion(to);
    });
}

SoftwareService::Status SoftwareService::runGDC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const GdcGrid& grid, const Token&) {
    return guarded("runGDC", [&] {
        const MappedPicture src("src", MappedPicture::Access::Read, srcGeometry, srcBuffers);
        MappedPicture dst("dst", MappedPicture::Access::Write, dstGeometry, dstBuffers);
        if (src.width() != dst.width() || src.height() != dst.height()) {
            throw Refusal{"src of " + std::to_string(src.width()) + "x" + std::to_string(src.height()) +
                          ", dst of " + std::to_string(dst.width()) + "x" + std::to_string(dst.height()) +
                          ", expected one size"};
        }
        const std::lock_guard<std::mutex> lock(modelMutex);
        dst.setRegionOf(warped(src.whole(), grid));
    });
}

void startSoftwareService() {
    using ::vendor::norlake::hardware::vantorService::V1_0::IVantorService;
    if (IVantorService::getService("default", false) != nullptr) return;
    const ::android::sp<SoftwareService> service = new SoftwareService;
    if (service->registerAsService("default") != ::android::OK) {
        __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "registerAsService() failed");
    }
}

}  // namespace vantor
