// The types that pass through interfaces, as far as the headers generated for ours use them.
#pragma once

#include <cutils/native_handle.h>
#include <utils/Errors.h>
#include <utils/RefBase.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

namespace android {

namespace hidl::base::V1_0 {
struct IBase;
}

namespace hardware {

/// Is notified of the death of a remote service.
struct hidl_death_recipient : public virtual RefBase {
    virtual void serviceDied(uint64_t cookie, const wp<hidl::base::V1_0::IBase>& who) = 0;
};

/// Carries a native handle through a call.
struct hidl_handle {
    hidl_handle();
    /// Does not take ownership: neither is the handle freed nor are its descriptors closed.
    hidl_handle(const native_handle_t* handle);
    /// Owns duplicates of the descriptors.
    hidl_handle(const hidl_handle& other);
    hidl_handle(hidl_handle&& other) noexcept;
    ~hidl_handle();

    hidl_handle& operator=(const native_handle_t* handle);
    hidl_handle& operator=(const hidl_handle& other);
    hidl_handle& operator=(hidl_handle&& other) noexcept;

    /// Takes another handle and, if `shouldOwn`, closes its descriptors and frees it at the end.
    void setTo(native_handle_t* handle, bool shouldOwn = false);

    const native_handle_t* operator->() const;
    operator const native_handle_t*() const;
    const native_handle_t* getNativeHandle() const;

private:
    void free();

    native_handle_t* handle_ = nullptr;
    bool owned_ = false;
};

/// Text.
struct hidl_string {
    hidl_string() = default;
    hidl_string(const char* text) : text_(text ? text : "") {}
    hidl_string(std::string text) : text_(std::move(text)) {}

    operator std::string() const { return text_; }
    const char* c_str() const { return text_.c_str(); }
    size_t size() const { return text_.size(); }
    bool empty() const { return text_.empty(); }

private:
    std::string text_;
};

inline bool operator==(const hidl_string& a, const char* b) {
    return std::string(a) == b;
}
inline bool operator==(const hidl_string& a, const hidl_string& b) {
    return a == b.c_str();
}
inline bool operator!=(const hidl_string& a, const hidl_string& b) {
    return !(a == b);
}

/// Elements in succession.
template <typename T>
struct hidl_vec {
    hidl_vec() = default;
    hidl_vec(std::initializer_list<T> elements) : elements_(elements) {}
    hidl_vec(std::vector<T> elements) : elements_(std::move(elements)) {}

    size_t size() const { return elements_.size(); }
    void resize(size_t size) { elements_.resize(size); }
    T* data() { return elements_.data(); }
    const T* data() const { return elements_.data(); }
    T& operator[](size_t index) { return elements_[index]; }
    const T& operator[](size_t index) const { return elements_[index]; }
    T* begin() { return data(); }
    T* end() { return data() + size(); }
    const T* begin() const { return data(); }
    const T* end() const { return data() + size(); }

private:
    std::vector<T> elements_;
};

namespace details {

/// Marks the interfaces themselves, as opposed to what implements them.
struct i_tag {};

// Generated headers specialise this without "inline", which has to stay private to each source file.
inline namespace {
template <typename Enum>
constexpr std::array<Enum, 0> hidl_enum_values{};
}

std::string toHexString(int32_t value);

template <typename T, size_t... SIZES>
class accessor;

/// An element of an array, or the part that one index leaves of an array of more dimensions.
template <size_t SIZE, size_t... REST, typename T>
decltype(auto) element(T* base, size_t index) {
    if constexpr (sizeof...(REST) == 0) {
        return static_cast<T&>(base[index]);
    } else {
        return accessor<T, REST...>(base + index * (REST * ...));
    }
}

template <typename T, size_t... SIZES>
class accessor {
public:
    explicit accessor(T* base) : base_(base) {}
    decltype(auto) operator[](size_t index) const { return element<SIZES...>(base_, index); }

private:
    T* base_;
};

}  // namespace details

/// Elements of one or more dimensions, the last index running fastest.
template <typename T, size_t SIZE1, size_t... SIZES>
struct hidl_array {
    hidl_array() = default;
    hidl_array(const T* source) { std::copy_n(source, kCount, elements_); }

    T* data() { return elements_; }
    const T* data() const { return elements_; }
    decltype(auto) operator[](size_t index) { return details::element<SIZE1, SIZES...>(elements_, index); }
    decltype(auto) operator[](size_t index) const {
        return details::element<SIZE1, SIZES...>(elements_, index);
    }

    /// The number of elements, for several dimensions a tuple.
    static constexpr auto size() {
        if constexpr (sizeof...(SIZES) == 0) {
            return SIZE1;
        } else {
            return std::make_tuple(SIZE1, SIZES...);
        }
    }

    bool operator==(const hidl_array& other) const {
        return std::equal(elements_, elements_ + kCount, other.elements_);
    }
    bool operator!=(const hidl_array& other) const { return !(*this == other); }

private:
    static constexpr size_t kCount = (SIZE1 * ... * SIZES);
    T elements_[kCount];
};

template <typename Enum>
using hidl_bitfield = std::underlying_type_t<Enum>;

template <typename T, typename = std::enable_if_t<std::is_arithmetic_v<T>>>
std::string toString(T value) {
    return std::to_string(value);
}

template <typename T, size_t SIZE1, size_t... SIZES>
std::string toString(const hidl_array<T, SIZE1, SIZES...>& array) {
    constexpr size_t count = (SIZE1 * ... * SIZES);
    std::string text = "{";
    for (size_t i = 0; i < count; i++) text += (i ? ", " : "") + toString(array.data()[i]);
    return text + "}";
}

}  // namespace hardware
}  // namespace android
