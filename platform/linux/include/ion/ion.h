// The platform's allocator of shared buffers, here sealed memory files.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Opens the allocator. Returns its descriptor, or -1.
int ion_open();

/// Closes the allocator. Returns 0, or a negative error number.
int ion_close(int fd);

/// Allocates a buffer of `len` bytes, rounded up to whole pages and filled with zeros, whose size nobody can
/// change.
/// `*handle_fd` becomes its descriptor, closed on exec. Every buffer is aligned to pages, whatever `align`;
/// the heap and the flags make no difference. Returns 0, -EINVAL for an allocator that is not open, no
/// bytes or a null pointer, -ENOMEM for more than half of the machine's memory, or another negative error
/// number.
int ion_alloc_fd(int fd, size_t len, size_t align, unsigned int heap_mask, unsigned int flags,
                 int* handle_fd);

#ifdef __cplusplus
}
#endif
