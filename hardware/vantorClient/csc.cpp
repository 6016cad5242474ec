// The scaling request.
#include <cstdint>

#include "hardware/vantorClient/connection.h"
#include "hardware/vantorClient/log.h"
#include "hardware/vantorClient/service_request.h"
#include "hardware/vantorClient/status.h"
#include "hardware/vantorClient/vantor_client.h"
#include "processor/float_rounding.h"

namespace hardware {
namespace {

using ::android::hardware::hidl_handle;
using ::android::hardware::Return;
using BufferData = vantorClient::BufferData;

constexpr char kFunction[] = "runCSC";
constexpr int kMinSource = 16;
constexpr int kMinDestination = 4;
constexpr int kMaxSide = 8192;
constexpr float kMinFactor = 0.25F;
constexpr float kMaxFactor = 8.0F;
constexpr int kAlignment = 2;

BufferRecord scalingRecord;

class ScalingRequest final : public ServiceRequest {
public:
    ScalingRequest(const BufferData& dst, const BufferData& src)
        : ServiceRequest(
              kFunction,
              {vantor::kLineScaleSourcePair, vantor::kLineScaleSourceGray, vantor::kLineScaleSourceIon,
               vantor::kLineScaleIn, vantor::kLineScaleSourceHandle, vantor::kLineScaleSourceUnmap},
              {vantor::kLineScaleDestinationPair, vantor::kLineScaleDestinationGray,
               vantor::kLineScaleDestinationIon, vantor::kLineScaleOut, vantor::kLineScaleDestinationHandle,
               vantor::kLineScaleDestinationUnmap},
              scalingRecord),
          dst_(geometry(dst)),
          src_(geometry(src)) {}

    Return<int32_t> call(const hidl_handle& dst, const hidl_handle& src) const override {
        return vantorService->runCSC(dst_, dst, src_, src, scalingToken);
    }
    void logElapsed(double milliseconds) const override {
        VANTOR_LOG_INFO(kFunction, vantor::kLineScaleElapsed, "runCSC %fms elapsed", milliseconds);
    }
    void logFailure() const override {
        VANTOR_LOG_ERROR(kFunction, vantor::kLineScaleServiceFailed, "runCSC() failed");
    }
    void logDone() const override { VANTOR_LOG_INFO(kFunction, vantor::kLineScaleDone, "SCALING done"); }

private:
    service::ImageGeometry dst_;
    service::ImageGeometry src_;
};

bool isSmaller(const BufferData& image, int limit) {
    return image.width < limit || image.height < limit;
}

bool isLarger(const BufferData& image, int limit) {
    return image.width > limit || image.height > limit;
}

bool isUnaligned(const BufferData& image) {
    return image.width % kAlignment != 0 || image.height % kAlignment != 0;
}

#define SCALE_ERROR(line, ...) VANTOR_LOG_ERROR(kFunction, vantor::line, __VA_ARGS__)

/// Logs the first fault of a request, if any, and returns whether there was none.
bool validate(const BufferData& dst, const BufferData& src, int32_t format) {
    const float scaleW = static_cast<float>(dst.width) / static_cast<float>(src.width);
    const float scaleH = static_cast<float>(dst.height) / static_cast<float>(src.height);
    if (format != IMAGE_FORMAT_GRAYSCALE && format != IMAGE_FORMAT_NV12) {
        SCALE_ERROR(kLineScaleFormat, "Invalid image format(%d)", format);
    } else if (isSmaller(src, kMinSource)) {
        SCALE_ERROR(kLineScaleSourceTooSmall,
                    "Invalid src image size [%dx%d] : must not be smaller than %dx%d", src.width, src.height,
                    kMinSource, kMinSource);
    } else if (isSmaller(dst, kMinDestination)) {
        SCALE_ERROR(kLineScaleDestinationTooSmall,
                    "Invalid dst image size [%dx%d] : must not be smaller than %dx%d", dst.width, dst.height,
                    kMinDestination, kMinDestination);
    } else if (isLarger(src, kMaxSide)) {
        SCALE_ERROR(kLineScaleSourceTooLarge,
                    "Invalid src image size [%dx%d] : must not be larger than %dx%d", src.width, src.height,
                    kMaxSide, kMaxSide);
    } else if (isLarger(dst, kMaxSide)) {
        SCALE_ERROR(kLineScaleDestinationTooLarge,
                    "Invalid dst image size [%dx%d] : must not be larger than %dx%d", dst.width, dst.height,
                    kMaxSide, kMaxSide);
    } else if (scaleW < kMinFactor || scaleH < kMinFactor) {
        SCALE_ERROR(
            kLineScaleFactorTooSmall,
            "Invalid scaling factor [scaleW=%f, scaleH=%f] : must not be smaller than [scaleW=%f, scaleH=%f]",
            double{scaleW}, double{scaleH}, double{kMinFactor}, double{kMinFactor});
    } else if (scaleW > kMaxFactor || scaleH > kMaxFactor) {
        SCALE_ERROR(
            kLineScaleFactorTooLarge,
            "Invalid scaling factor [scaleW=%f, scaleH=%f] : must not be larger than [scaleW=%f, scaleH=%f]",
            double{scaleW}, double{scaleH}, double{kMaxFactor}, double{kMaxFactor});
    } else if (isUnaligned(src)) {
        SCALE_ERROR(kLineScaleSourceAlignment,
                    "Src width(%d) and height(%d) must be aligned with w=%d, h=%d for CSC", src.width,
                    src.height, kAlignment, kAlignment);
    } else if (isUnaligned(dst)) {
        SCALE_ERROR(kLineScaleDestinationAlignment,
                    "Dst width(%d) and height(%d) must be aligned with w=%d, h=%d for CSC", dst.width,
                    dst.height, kAlignment, kAlignment);
    } else {
        return true;
    }
    return false;
}

/// The fallback to the CPU when the service fails; the request still reports failure.
int32_t fallBack(const BufferData& dst, const BufferData& src, int32_t format) {
    SCALE_ERROR(kLineScaleFallback, "Error occurs, run SW scaler instead");
    if (vantorClient::runInterpBicubic(dst, src, format) != kSuccess) {
        SCALE_ERROR(kLineScaleFallbackFailed, "runInterpBicubic() failed");
    }
    return kFailure;
}

}  // namespace

int32_t vantorClient::runCSC(const BufferData& dst, const BufferData& src, int32_t format) {
    VANTOR_LOG_INFO(kFunction, vantor::kLineScale, "Process SCALING using CSC");
    scalingToken = newClientToken();
    if (!validate(dst, src, format)) return kFailure;
    const ScalingRequest request(dst, src);
    const ServiceOutcome outcome = runOnService(request, dst, src, format);
    return outcome == ServiceOutcome::Failed ? fallBack(dst, src, format) : statusOf(outcome);
}

}  // namespace hardware
