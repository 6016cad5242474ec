#include <hidl/HidlSupport.h>

#include <cstdio>

#include "fatal.h"

namespace android::hardware {

hidl_handle::hidl_handle() = default;

hidl_handle::hidl_handle(const native_handle_t* handle) : handle_(const_cast<native_handle_t*>(handle)) {}

hidl_handle::hidl_handle(const hidl_handle& other) {
    *this = other;
}

hidl_handle::hidl_handle(hidl_handle&& other) noexcept {
    *this = std::move(other);
}

hidl_handle::~hidl_handle() {
    free();
}

hidl_handle& hidl_handle::operator=(const native_handle_t* handle) {
    setTo(const_cast<native_handle_t*>(handle));
    return *this;
}

hidl_handle& hidl_handle::operator=(const hidl_handle& other) {
    if (this == &other) return *this;
    native_handle_t* const clone = other.handle_ ? native_handle_clone(other.handle_) : nullptr;
    if (other.handle_ && !clone)
        vantorPlatformFatal("HidlSupport", "a native handle could not be duplicated");
    setTo(clone, clone != nullptr);
    return *this;
}

hidl_handle& hidl_handle::operator=(hidl_handle&& other) noexcept {
    if (this == &other) return *this;
    setTo(other.handle_, other.owned_);
    other.handle_ = nullptr;
    other.owned_ = false;
    return *this;
}

void hidl_handle::setTo(native_handle_t* handle, bool shouldOwn) {
    free();
    handle_ = handle;
    owned_ = shouldOwn;
}

const native_handle_t* hidl_handle::operator->() const {
    return handle_;
}

hidl_handle::operator const native_handle_t*() const {
    return handle_;
}

const native_handle_t* hidl_handle::getNativeHandle() const {
    return handle_;
}

void hidl_handle::free() {
    if (!owned_ || !handle_) return;
    native_handle_close(handle_);
    native_handle_delete(handle_);
}

std::string details::toHexString(int32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", static_cast<unsigned>(value));
    return text;
}

}  // namespace android::hardware
