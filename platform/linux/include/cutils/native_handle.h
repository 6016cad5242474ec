// The platform's native handles: file descriptors and numbers in one block of memory.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

#define NATIVE_HANDLE_MAX_FDS 1024
#define NATIVE_HANDLE_MAX_INTS 1024

typedef struct native_handle {
    int version;  ///< sizeof(native_handle_t)
    int numFds;   ///< descriptors at data[0]
    int numInts;  ///< numbers at data[numFds]
    int data[0];
} native_handle_t;

typedef const native_handle_t* buffer_handle_t;

/// A handle whose data is not yet set, or null if a number is negative or above its limit or memory is
/// lacking.
native_handle_t* native_handle_create(int numFds, int numInts);

/// A handle with duplicates of the descriptors and the same numbers, or null.
native_handle_t* native_handle_clone(const native_handle_t* handle);

/// Closes the descriptors and keeps the handle. Returns 0, also for null, or -EINVAL for a wrong version.
int native_handle_close(const native_handle_t* handle);

/// Frees the handle and leaves the descriptors open. Returns 0, also for null, or -EINVAL for a wrong
/// version.
int native_handle_delete(native_handle_t* handle);

#ifdef __cplusplus
}
#endif
