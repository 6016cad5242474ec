#include <cutils/native_handle.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

native_handle_t* native_handle_create(int numFds, int numInts) {
    if (numFds < 0 || numInts < 0 || numFds > NATIVE_HANDLE_MAX_FDS || numInts > NATIVE_HANDLE_MAX_INTS) {
        return nullptr;
    }
    const size_t count = static_cast<size_t>(numFds) + static_cast<size_t>(numInts);
    auto* handle = static_cast<native_handle_t*>(std::malloc(sizeof(native_handle_t) + count * sizeof(int)));
    if (!handle) return nullptr;
    handle->version = sizeof(native_handle_t);
    handle->numFds = numFds;
    handle->numInts = numInts;
    return handle;
}

native_handle_t* native_handle_clone(const native_handle_t* handle) {
    native_handle_t* clone = native_handle_create(handle->numFds, handle->numInts);
    if (!clone) return nullptr;
    for (int i = 0; i < handle->numFds; i++) {
        clone->data[i] = dup(handle->data[i]);
        if (clone->data[i] >= 0) continue;
        clone->numFds = i;
        native_handle_close(clone);
        native_handle_delete(clone);
        return nullptr;
    }
    std::copy_n(handle->data + handle->numFds, handle->numInts, clone->data + handle->numFds);
    return clone;
}

int native_handle_close(const native_handle_t* handle) {
    if (!handle) return 0;
    if (handle->version != sizeof(native_handle_t)) return -EINVAL;
    for (int i = 0; i < handle->numFds; i++) close(handle->data[i]);
    return 0;
}

int native_handle_delete(native_handle_t* handle) {
    if (!handle) return 0;
    if (handle->version != sizeof(native_handle_t)) return -EINVAL;
    std::free(handle);
    return 0;
}
