#include <hidl/Status.h>

#include "fatal.h"

namespace android::hardware {

Status Status::fromExceptionCode(int32_t exception, const char* message) {
    Status status;
    status.exception_ = exception;
    status.message_ = message;
    return status;
}

Status Status::fromStatusT(status_t error) {
    Status status;
    status.exception_ = error == OK ? EX_NONE : EX_TRANSACTION_FAILED;
    status.error_ = error;
    return status;
}

std::string Status::description() const {
    if (isOk()) return "no error";
    if (exception_ == EX_TRANSACTION_FAILED) {
        return "the transport failed with status " + std::to_string(error_) +
               (error_ == DEAD_OBJECT ? " (dead object)" : "");
    }
    return "exception " + std::to_string(exception_) + ": " + message_;
}

namespace details {

return_status& return_status::operator=(return_status&& other) noexcept {
    swap(other);
    return *this;
}

return_status::~return_status() {
    if (checked_ || status_.isOk()) return;
    vantorPlatformFatal("HidlStatus", ("a failed call was never checked: " + description()).c_str());
}

bool return_status::isDeadObject() const {
    const bool dead = status_.transactionError() == DEAD_OBJECT;
    checked_ = checked_ || dead;
    return dead;
}

void return_status::assertOk() const {
    if (status_.isOk()) return;
    vantorPlatformFatal("HidlStatus", ("a failed call was taken for successful: " + description()).c_str());
}

// After a move, the obligation to check passes to the other object.
void return_status::swap(return_status& other) noexcept {
    std::swap(status_, other.status_);
    std::swap(checked_, other.checked_);
}

}  // namespace details
}  // namespace android::hardware
