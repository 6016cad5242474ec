// The hardware service's stand-in on a workstation: the same requests, computed on the processor.
#pragma once

#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

namespace vantor {

/// Serves any number of clients of this process; warps one after the other, as the
/// model has one state (which clients that warp in the model themselves must not share at the same time).
/// Trusts nothing: what does not fit is refused with a status other than 0 and one line in the log, tag
/// "VANTOR_SERVICE". Keeps no client's token, and no buffer after its request.
class SoftwareService final : public ::vendor::norlake::hardware::vantorService::V1_0::IVantorService {
public:
    using Geometry = ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry;
    using GdcGrid = ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid;
    using Handle = ::android::hardware::hidl_handle;
    using Token = ::android::sp<::android::hidl::base::V1_0::IBase>;
    using Status = ::android::hardware::Return<int32_t>;

    /// Scales the source's region of interest to the destination's with the library's scalers.
    Status runCSC(const Geometry& dstGeometry, const Handle& dstBuffers, const Geometry& srcGeometry,
                  const Handle& srcBuffers, const Token& token) override;

    /// Warps the source with the model. Pixels outside the destination's region of interest keep their
    /// values.
    Status runGDC(const Geometry& dstGeometry, const Handle& dstBuffers, const Geometry& srcGeometry,
                  const Handle& srcBuffers, const GdcGrid& grid, const Token& token) override;
};

/// Registers a service under the name that the library looks for, unless there is one.
void startSoftwareService();

}  // namespace vantor
