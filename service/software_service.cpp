#include "service/software_service.h"

#include <android/log.h>

#include <cstring>

#include "service/model_backend.h"

namespace vantor {
namespace {

Buffers buffersOf(const SoftwareService::Handle& handle) {
    const native_handle_t* native = handle.getNativeHandle();
    return native ? Buffers{native->data, native->numFds} : Buffers{nullptr, 0};
}

}  // namespace

class SoftwareService::Loan {
public:
    explicit Loan(SoftwareService& service) : service_(service) {}
    ~Loan() {
        const std::lock_guard<std::mutex> lock(service_.mutex_);
        service_.idle_.splice(service_.idle_.begin(), seat_);
    }
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;

    Seat& seat() {
        const std::lock_guard<std::mutex> lock(service_.mutex_);
        if (service_.idle_.empty()) {
            seat_.push_back({std::make_unique<ModelBackend>()});
        } else {
            seat_.splice(seat_.begin(), service_.idle_, service_.idle_.begin());
        }
        return seat_.front();
    }

private:
    SoftwareService& service_;
    std::list<Seat> seat_;
};

SoftwareService::Status SoftwareService::runCSC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const Token&) {
    return serve(dstGeometry, dstBuffers, srcGeometry, srcBuffers, nullptr);
}

SoftwareService::Status SoftwareService::runGDC(const Geometry& dstGeometry, const Handle& dstBuffers,
                                                const Geometry& srcGeometry, const Handle& srcBuffers,
                                                const GdcGrid& grid, const Token&) {
    vantor_grid copy;
    static_assert(sizeof copy == sizeof grid);
    std::memcpy(copy.dx, grid.dX.data(), sizeof copy.dx);
    std::memcpy(copy.dy, grid.dY.data(), sizeof copy.dy);
    return serve(dstGeometry, dstBuffers, srcGeometry, srcBuffers, &copy);
}

SoftwareService::Status SoftwareService::serve(const Geometry& dstGeometry, const Handle& dstBuffers,
                                               const Geometry& srcGeometry, const Handle& srcBuffers,
                                               const vantor_grid* grid) {
    Loan loan(*this);
    const Call call{dstGeometry, buffersOf(dstBuffers), srcGeometry, buffersOf(srcBuffers), grid};
    const Answer result = answer(call, [&]() -> Seat& { return loan.seat(); });
    if (result.status != 0) __android_log_print(ANDROID_LOG_ERROR, "VANTOR_SERVICE", "%s", result.text);
    return result.status;
}

}  // namespace vantor
