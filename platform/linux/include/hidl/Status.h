// What calls of an interface return: a value, or how the transport failed.
#pragma once

#include <hidl/HidlSupport.h>

#include <cstdint>
#include <string>
#include <utility>

namespace android::hardware {

/// How a call went, apart from what the service itself answers.
class Status final {
public:
    enum Exception : int32_t {
        EX_NONE = 0,
        EX_SECURITY = -1,
        EX_BAD_PARCELABLE = -2,
        EX_ILLEGAL_ARGUMENT = -3,
        EX_NULL_POINTER = -4,
        EX_ILLEGAL_STATE = -5,
        EX_NETWORK_MAIN_THREAD = -6,
        EX_UNSUPPORTED_OPERATION = -7,
        EX_TRANSACTION_FAILED = -129,
    };

    static Status ok() { return {}; }
    static Status fromExceptionCode(int32_t exception, const char* message = "");
    /// A failure of the transport, such as DEAD_OBJECT.
    static Status fromStatusT(status_t status);

    bool isOk() const { return exception_ == EX_NONE; }
    int32_t exceptionCode() const { return exception_; }
    const char* exceptionMessage() const { return message_.c_str(); }
    /// The transport's error, or OK.
    status_t transactionError() const { return exception_ == EX_TRANSACTION_FAILED ? error_ : OK; }
    std::string description() const;

private:
    int32_t exception_ = EX_NONE;
    status_t error_ = OK;
    std::string message_;
};

namespace details {

/// Aborts if a failed result is used, or dropped unchecked.
class return_status {
public:
    return_status() = default;
    return_status(const Status& status) : status_(status) {}
    return_status(return_status&& other) noexcept { swap(other); }
    return_status& operator=(return_status&& other) noexcept;
    ~return_status();

    bool isOk() const {
        checked_ = true;
        return status_.isOk();
    }
    /// Marks the result as checked only if it succeeded.
    bool isDeadObject() const;
    /// Aborts if the call failed.
    void assertOk() const;
    std::string description() const { return status_.description(); }

private:
    void swap(return_status& other) noexcept;

    Status status_;
    mutable bool checked_ = false;
};

}  // namespace details

/// The value that a call returned; reading it aborts if the call failed.
template <typename T>
class Return : public details::return_status {
public:
    Return(T value) : value_(std::move(value)) {}
    Return(const Status& status) : return_status(status) {}

    operator T() const {
        assertOk();
        return value_;
    }
    T withDefault(T other) const { return isOk() ? value_ : other; }

private:
    T value_{};
};

template <typename T>
class Return<sp<T>> : public details::return_status {
public:
    Return(T* value) : value_(value) {}
    template <typename U>
    Return(const sp<U>& value) : value_(value) {}
    Return(const Status& status) : return_status(status) {}

    operator sp<T>() const {
        assertOk();
        return value_;
    }
    sp<T> withDefault(sp<T> other) const { return isOk() ? value_ : other; }

private:
    sp<T> value_;
};

template <>
class Return<void> : public details::return_status {
public:
    Return() = default;
    Return(const Status& status) : return_status(status) {}
};

/// What a method without a value returns.
inline Return<void> Void() {
    return {};
}

}  // namespace android::hardware
