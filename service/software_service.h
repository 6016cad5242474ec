// The hardware service's stand-in on a workstation: the same requests, computed on the CPU.
#pragma once

#include <vendor/norlake/hardware/vantorService/1.0/IVantorService.h>

#include <list>
#include <mutex>

#include "service/call.h"

namespace vantor {

/// Serves any number of clients at a time. A derived class may replace one operation alone.
///
/// Trusts nothing in a request: what does not fit is refused with a status other than 0 and one line in the
/// log, tag "VANTOR_SERVICE". Buffers must be memory files (memfd_create) or shared memory (tmpfs); others
/// are not read, as a client's own file system may never answer. They are read before anything is written,
/// so that one may serve both pictures, and never mapped, so that a client that shrinks them gets a refusal.
/// Of the destination, only the region of interest is written.
///
/// A refused request has written nothing, unless the client changed its buffer meanwhile (a shrunk
/// destination may grow again) or there was no memory for a sparse one: parts of the region may then be
/// written. A client that keeps its destination locked, by a write of its own that never ends, keeps this
/// one request waiting.
///
/// Keeps no client's token and no buffer after its request, but threads, and as much memory as the largest
/// pictures, of as many requests as ran at once: at most 200 MB each.
class SoftwareService : public ::vendor::norlake::hardware::vantorService::V1_0::IVantorService {
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

private:
    Status serve(const Geometry& dstGeometry, const Handle& dstBuffers, const Geometry& srcGeometry,
                 const Handle& srcBuffers, const vantor_grid* grid);
    /// A seat on loan.
    class Loan;

    std::mutex mutex_;
    std::list<Seat> idle_;
};

}  // namespace vantor
