// The warping requests.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>

#include "gdc_model/device_warp.h"
#include "gdc_model/matrix_grid.h"
#include "hardware/vantorClient/connection.h"
#include "hardware/vantorClient/log.h"
#include "hardware/vantorClient/service_request.h"
#include "hardware/vantorClient/status.h"
#include "hardware/vantorClient/vantor_client.h"
#include "hardware/vantorClient/warp_limits.h"

namespace hardware {
namespace {

using ::android::hardware::hidl_handle;
using ::android::hardware::Return;
using BufferData = vantorClient::BufferData;
using Grid = vantorClient::_GDCGrid;

constexpr char kHardwareFunction[] = "runGDCHWGrid";

const char* targetName(int32_t target) {
    return target == GDC_HW ? "GDC_HW" : target == GDC_C_MODEL ? "GDC_C_MODEL" : "INVALID";
}

bool isTooSmall(const BufferData& image) {
    return image.width < kMinWarpWidth || image.height < kMinWarpHeight;
}

bool isTooLarge(const BufferData& image) {
    return image.width > kMaxWarpWidth || image.height > kMaxWarpHeight;
}

#define WARP_ERROR(line, ...) VANTOR_LOG_ERROR("runGDCGrid", vantor::line, __VA_ARGS__)

/// Logs the first fault of a request, if any, and returns whether there was none.
bool validate(const BufferData& dst, const BufferData& src, int32_t format) {
    if (isTooSmall(src)) {
        WARP_ERROR(kLineWarpSourceTooSmall,
                   "Invalid src image size [%dx%d] : must not be smaller than [%dx%d]", src.width, src.height,
                   kMinWarpWidth, kMinWarpHeight);
    } else if (isTooSmall(dst)) {
        WARP_ERROR(kLineWarpDestinationTooSmall,
                   "Invalid dst image size [%dx%d] : must not be smaller than [%dx%d]", dst.width, dst.height,
                   kMinWarpWidth, kMinWarpHeight);
    } else if (isTooLarge(src)) {
        WARP_ERROR(kLineWarpSourceTooLarge,
                   "Invalid src image size [%dx%d] : must not be larger than [%dx%d]", src.width, src.height,
                   kMaxWarpWidth, kMaxWarpHeight);
    } else if (isTooLarge(dst)) {
        WARP_ERROR(kLineWarpDestinationTooLarge,
                   "Invalid dst image size [%dx%d] : must not be larger than [%dx%d]", dst.width, dst.height,
                   kMaxWarpWidth, kMaxWarpHeight);
    } else if (src.width != dst.width || src.height != dst.height) {
        WARP_ERROR(kLineWarpSizesDiffer,
                   "Invalid scaling factor [src(%dx%d), dst(%dx%d)] : src size must be same with dst size",
                   src.width, src.height, dst.width, dst.height);
    } else if (format != IMAGE_FORMAT_GRAYSCALE && format != IMAGE_FORMAT_NV12) {
        WARP_ERROR(kLineWarpFormat, "Invalid image format(%d)", format);
    } else if (src.width % kWarpWidthAlignment != 0 || src.height % kWarpHeightAlignment != 0) {
        WARP_ERROR(kLineWarpAlignment, "Src width(%d) and height(%d) must be aligned with w=%d, h=%d for GDC",
                   src.width, src.height, kWarpWidthAlignment, kWarpHeightAlignment);
    } else {
        return true;
    }
    return false;
}

/// The chroma of a picture whose luma is at `y`: right after it, unless it has an address of its own.
uint8_t* chromaOf(const BufferData& image, int32_t format) {
    if (format == IMAGE_FORMAT_GRAYSCALE) return nullptr;
    return image.uv ? image.uv : image.y + std::ptrdiff_t{image.width} * image.height;
}

int32_t runModel(const BufferData& dst, const BufferData& src, const Grid& grid, int32_t format) {
    if (format == IMAGE_FORMAT_NV12 && src.y == nullptr) {
        VANTOR_LOG_ERROR("runGDCCModelGrid", vantor::kLineModelSource,
                         "Invalid arguments [src.y=%p / src.uv=%p]", static_cast<void*>(src.y),
                         static_cast<void*>(src.uv));
        return kFailure;
    }
    const vantor::OutputRegion region(dst.cropLeft, dst.cropTop, dst.cropRight, dst.cropBottom);
    if (!region.isCountable()) return kFailure;
    // The model runs even without an output plane: its state can be read.
    vantor::PlanePair<uint8_t> output{};
    if (dst.y != nullptr) output = {dst.y, chromaOf(dst, format)};
    const bool isWarped = vantor::warpOnDevice(src.width, src.height, region, {src.y, chromaOf(src, format)},
                                               output, grid.dX, grid.dY);
    if (format == IMAGE_FORMAT_NV12 && dst.y == nullptr) {
        VANTOR_LOG_ERROR("runGDCCModelGrid", vantor::kLineModelDestination,
                         "Invalid arguments [dst.y=%p / dst.uv=%p]", static_cast<void*>(dst.y),
                         static_cast<void*>(dst.uv));
        return kFailure;
    }
    return isWarped ? kSuccess : kFailure;
}

BufferRecord warpingRecord;

class WarpingRequest final : public ServiceRequest {
public:
    WarpingRequest(const BufferData& dst, const BufferData& src, const Grid& grid)
        : ServiceRequest(
              kHardwareFunction,
              {vantor::kLineWarpSourcePair, vantor::kLineWarpSourceGray, vantor::kLineWarpSourceIon,
               vantor::kLineWarpIn, vantor::kLineWarpSourceHandle, vantor::kLineWarpSourceUnmap},
              {vantor::kLineWarpDestinationPair, vantor::kLineWarpDestinationGray,
               vantor::kLineWarpDestinationIon, vantor::kLineWarpOut, vantor::kLineWarpDestinationHandle,
               vantor::kLineWarpDestinationUnmap},
              warpingRecord),
          dst_(geometry(dst)),
          src_(geometry(src)) {
        static_assert(sizeof grid_.dX == sizeof grid.dX && sizeof grid_ == sizeof grid);
        std::memcpy(grid_.dX.data(), grid.dX, sizeof grid.dX);
        std::memcpy(grid_.dY.data(), grid.dY, sizeof grid.dY);
    }

    Return<int32_t> call(const hidl_handle& dst, const hidl_handle& src) const override {
        return vantorService->runGDC(dst_, dst, src_, src, grid_, warpingToken);
    }
    void logElapsed(double milliseconds) const override {
        VANTOR_LOG_INFO(kHardwareFunction, vantor::kLineWarpElapsed, "runGDC %fms elapsed", milliseconds);
    }
    void logFailure() const override {
        VANTOR_LOG_ERROR(kHardwareFunction, vantor::kLineWarpServiceFailed, "runGDC() failed");
    }
    void logDone() const override {
        VANTOR_LOG_INFO(kHardwareFunction, vantor::kLineWarpDone, "WARPING done");
    }

private:
    service::ImageGeometry dst_;
    service::ImageGeometry src_;
    service::GdcGrid grid_;
};

/// The fallback when the service fails: a copy, which is still reported as a failure.
int32_t fallBack(const BufferData& dst, const BufferData& src, int32_t format) {
    VANTOR_LOG_ERROR(kHardwareFunction, vantor::kLineWarpFallback,
                     "Error occurs, run SW scaler (memcpy) instead");
    if (vantorClient::runInterpBicubic(dst, src, format) != kSuccess) {
        VANTOR_LOG_ERROR(kHardwareFunction, vantor::kLineWarpFallbackFailed, "runInterpBicubic() failed");
    }
    return kFailure;
}

int32_t runHardware(const BufferData& dst, const BufferData& src, const Grid& grid, int32_t format) {
    warpingToken = newClientToken();
    const WarpingRequest request(dst, src, grid);
    const ServiceOutcome outcome = runOnService(request, dst, src, format);
    return outcome == ServiceOutcome::Failed ? fallBack(dst, src, format) : statusOf(outcome);
}

/// The client clamps mapped nodes to the picture.
Grid gridFromMatrix(const int16_t* matrix, int32_t width, int32_t height) {
    const vantor::Grid nodes =
        vantor::gridFromMatrix(vantor::AffineMatrix(matrix).values, width, height, true);
    Grid grid;
    std::copy(std::begin(nodes.dX), std::end(nodes.dX), grid.dX);
    std::copy(std::begin(nodes.dY), std::end(nodes.dY), grid.dY);
    return grid;
}

}  // namespace

int32_t vantorClient::runGDCGrid(const BufferData& dst, const BufferData& src, const _GDCGrid& grid,
                                 int32_t format, int32_t target) {
    VANTOR_LOG_INFO("runGDCGrid", vantor::kLineWarp, "Process WARPING using GDC (target=%s)",
                    targetName(target));
    if (!validate(dst, src, format)) return kFailure;
    if (target == GDC_HW) return runHardware(dst, src, grid, format);
    if (target == GDC_C_MODEL) return runModel(dst, src, grid, format);
    WARP_ERROR(kLineWarpTarget, "Invalid target model for GDC");
    return kFailure;
}

int32_t vantorClient::runGDCMatrix(const BufferData& dst, const BufferData& src, const int16_t* matrix,
                                   int32_t format, int32_t target) {
    const _GDCGrid grid = gridFromMatrix(matrix, src.width, src.height);
    const int32_t status = runGDCGrid(dst, src, grid, format, target);
    if (status != kSuccess) VANTOR_LOG_ERROR("runGDCMatrix", vantor::kLineMatrix, "runGDCGrid() failed");
    return status;
}

}  // namespace hardware
