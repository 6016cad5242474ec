// The platform's strong pointer, as far as the library and its service use it.
#pragma once

#include <cstddef>

namespace android {

template <typename T>
class wp;

/// Reports that two threads changed a strong pointer at once, and aborts.
void sp_report_race();

/// Reports on standard error that a null strong pointer was dereferenced, and aborts. Only on Linux.
[[noreturn]] void sp_report_null();

/// Owns a share of an object that counts its references itself, such as a RefBase.
template <typename T>
class sp {
public:
    sp() = default;
    sp(T* other) : pointer_(other) { acquire(); }
    sp(const sp& other) : pointer_(other.pointer_) { acquire(); }
    sp(sp&& other) noexcept : pointer_(other.pointer_) { other.pointer_ = nullptr; }
    template <typename U>
    sp(const sp<U>& other) : pointer_(other.pointer_) {
        acquire();
    }
    template <typename U>
    sp(sp<U>&& other) : pointer_(other.pointer_) {
        other.pointer_ = nullptr;
    }
    ~sp() {
        if (pointer_) pointer_->decStrong(this);
    }

    sp& operator=(T* other) { return assign(other); }
    sp& operator=(const sp& other) { return assign(other.pointer_); }
    sp& operator=(sp&& other) noexcept { return take(other); }
    template <typename U>
    sp& operator=(const sp<U>& other) {
        return assign(other.pointer_);
    }
    template <typename U>
    sp& operator=(sp<U>&& other) {
        return take(other);
    }

    /// Releases the object.
    void clear() {
        if (pointer_) release();
        pointer_ = nullptr;
    }

    T& operator*() const { return *checked(); }
    T* operator->() const { return checked(); }
    T* get() const { return pointer_; }
    explicit operator bool() const { return pointer_ != nullptr; }

private:
    template <typename U>
    friend class sp;

    void acquire() const {
        if (pointer_) pointer_->incStrong(this);
    }

    T* current() const { return *const_cast<T* const volatile*>(&pointer_); }

    void release() {
        T* const old = current();
        if (old) old->decStrong(this);
        if (old != current()) sp_report_race();
    }

    sp& assign(T* other) {
        T* const old = current();
        if (other) other->incStrong(this);
        if (old) old->decStrong(this);
        if (old != current()) sp_report_race();
        pointer_ = other;
        return *this;
    }

    template <typename U>
    sp& take(sp<U>& other) {
        release();
        pointer_ = other.pointer_;
        other.pointer_ = nullptr;
        return *this;
    }

    T* checked() const {
#ifndef __ANDROID__
        if (!pointer_) sp_report_null();
#endif
        return pointer_;
    }

    T* pointer_ = nullptr;
};

template <typename T, typename U>
bool operator==(const sp<T>& a, const sp<U>& b) {
    return a.get() == b.get();
}
template <typename T, typename U>
bool operator==(const sp<T>& a, const U* b) {
    return a.get() == b;
}
template <typename T, typename U>
bool operator==(const T* a, const sp<U>& b) {
    return a == b.get();
}
template <typename T>
bool operator==(const sp<T>& a, std::nullptr_t) {
    return !a;
}
template <typename T>
bool operator==(std::nullptr_t, const sp<T>& b) {
    return !b;
}

template <typename T, typename U>
bool operator!=(const sp<T>& a, const sp<U>& b) {
    return !(a == b);
}
template <typename T, typename U>
bool operator!=(const sp<T>& a, const U* b) {
    return !(a == b);
}
template <typename T, typename U>
bool operator!=(const T* a, const sp<U>& b) {
    return !(a == b);
}
template <typename T>
bool operator!=(const sp<T>& a, std::nullptr_t) {
    return static_cast<bool>(a);
}
template <typename T>
bool operator!=(std::nullptr_t, const sp<T>& b) {
    return static_cast<bool>(b);
}

}  // namespace android
