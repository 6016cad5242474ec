// Preloaded by test_no_memory.py and test_signals.py. The FAIL_AT-th allocation fails, and with FAIL_ON all behind it,
// counted from where the tool begins to watch its memory; the file FAIL_MARK then says so. With FAIL_TMPFILE all files
// have names.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <new>

extern "C" {
void* __libc_malloc(size_t);
void* __libc_calloc(size_t, size_t);
void* __libc_realloc(void*, size_t);

static std::atomic<long> left{0};  // 0: none fails

static bool fails() {
    if (left.load() == 0) return false;
    const bool isFirst = left.load() > 0 && --left == 0;
    if (isFirst && getenv("FAIL_ON")) left = -1;
    if (!isFirst && left.load() >= 0) return false;
    if (isFirst) close(creat(getenv("FAIL_MARK"), 0600));
    errno = ENOMEM;
    return true;
}

void* malloc(size_t size) { return fails() ? nullptr : __libc_malloc(size); }
void* calloc(size_t count, size_t size) { return fails() ? nullptr : __libc_calloc(count, size); }
void* realloc(void* memory, size_t size) { return fails() ? nullptr : __libc_realloc(memory, size); }

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const unsigned mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, unsigned) : 0;
    va_end(arguments);
    if ((flags & O_TMPFILE) == O_TMPFILE && getenv("FAIL_TMPFILE")) return errno = EOPNOTSUPP, -1;
    return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

std::new_handler _ZSt15set_new_handlerPFvvE(std::new_handler handler) {
    const auto next =
        reinterpret_cast<std::new_handler (*)(std::new_handler)>(dlsym(RTLD_NEXT, "_ZSt15set_new_handlerPFvvE"));
    const char* at = getenv("FAIL_AT");
    left = at ? atol(at) : 0;
    return next(handler);
}
}
