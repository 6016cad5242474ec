// One call of the hardware service with its buffers: set up, shared, copied and released, for both requests
// alike.
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>

#include <cstdint>

#include "hardware/vantorClient/connection.h"
#include "hardware/vantorClient/log.h"
#include "hardware/vantorClient/vantor_client.h"

namespace hardware {

/// What the service gets of one picture, and where its planes are in this process.
struct SideRecord {
    uint8_t* y = nullptr;   ///< the caller's plane, or the mapping of an allocated buffer
    uint8_t* uv = nullptr;  ///< the caller's plane, the mapping of a chroma buffer, or null
    int32_t fdY = 0;        ///< first descriptor
    int32_t fdUV = 0;       ///< second descriptor, or -1
};

/// One request's buffers, kept from call to call.
struct BufferRecord {
    SideRecord src;
    SideRecord dst;
};

/// Line numbers of one side's log lines.
struct SideLines {
    vantor::LogLine descriptors;
    vantor::LogLine grayDescriptor;
    vantor::LogLine allocation;
    vantor::LogLine picture;
    vantor::LogLine handle;
    vantor::LogLine unmapping;
};

/// What the two requests do differently.
class ServiceRequest {
public:
    const char* function;  ///< name in log lines
    SideLines srcLines;
    SideLines dstLines;
    BufferRecord& record;

    virtual ::android::hardware::Return<int32_t> call(const ::android::hardware::hidl_handle& dst,
                                                      const ::android::hardware::hidl_handle& src) const = 0;
    virtual void logElapsed(double milliseconds) const = 0;
    virtual void logFailure() const = 0;
    virtual void logDone() const = 0;

protected:
    ServiceRequest(const char* name, const SideLines& src, const SideLines& dst, BufferRecord& buffers)
        : function(name), srcLines(src), dstLines(dst), record(buffers) {}
    ~ServiceRequest() = default;
};

enum class ServiceOutcome {
    Done,
    Refused,   ///< the descriptors do not go together; logged
    NoHandle,  ///< a handle could not be created; logged
    Failed,    ///< no buffer, or the service's own failure; logged. The request falls back to software.
};

/// The request's status, where there is no fallback.
int32_t statusOf(ServiceOutcome outcome);

/// Shares the two pictures with the service, calls it, and brings the result to `dst`.
ServiceOutcome runOnService(const ServiceRequest& request, const vantorClient::BufferData& dst,
                            const vantorClient::BufferData& src, int32_t format);

/// A picture's size and region of interest as the service takes them, unchecked.
service::ImageGeometry geometry(const vantorClient::BufferData& image);

}  // namespace hardware
