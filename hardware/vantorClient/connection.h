// The process's connection to the hardware service, and what its requests keep between calls.
#pragma once

#include <utils/StrongPointer.h>
#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <cstdint>

namespace hardware {

namespace service = ::vendor::norlake::hardware::vantorService::V1_0;
using ClientToken = ::android::sp<::android::hidl::base::V1_0::IBase>;

/// Process-wide and without a lock, as the operations that use them are.
extern ::android::sp<service::IVantorService> vantorService;  ///< set by init; null until then
extern ClientToken scalingToken;                              ///< the last scaling request's; null until then
extern ClientToken warpingToken;                              ///< the last warping request's; null until then
/// What a request hands to the service. Aborts where there is no memory, as the platform does.
ClientToken newClientToken() noexcept;

extern int32_t ionDevice;  ///< descriptor of the buffer allocator; -1 until init

}  // namespace hardware
