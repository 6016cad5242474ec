// What SystemVerilog holds as a chandle.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>

#include "bindings/c/failure.h"

namespace vantor::dpi {

/// All objects of one kind. A handle that is none of theirs, or no longer, is refused.
template <typename Object>
class Handles {
public:
    explicit Handles(const char* kind) : kind_(kind) {}

    void* add(std::unique_ptr<Object> object) {
        const std::lock_guard lock(mutex_);
        void* const handle = object.get();
        objects_.emplace(handle, std::move(object));
        return handle;
    }

    Object& at(const char* name, void* handle) {
        const std::lock_guard lock(mutex_);
        const auto found = objects_.find(handle);
        if (found == objects_.end()) throw c::invalid("%s: not the handle of a %s", name, kind_);
        return *found->second;
    }

    void remove(void* handle) {
        const std::lock_guard lock(mutex_);
        objects_.erase(handle);
    }

private:
    const char* kind_;
    std::mutex mutex_;
    std::unordered_map<void*, std::unique_ptr<Object>> objects_;
};

/// The handle that `make` returns, or null after a failure.
template <typename Make>
void* guardedHandle(Make&& make) noexcept {
    void* handle = nullptr;
    c::guarded(nullptr, [&] { handle = make(); });
    return handle;
}

}  // namespace vantor::dpi
