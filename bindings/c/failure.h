// How the C entries fail.
#pragma once

#include <cstddef>

#include "vantor/vantor.h"

namespace vantor::c {

constexpr size_t kMessageBytes = 256;

/// Thrown inside the library; no exception leaves it. The text is cut where it is too long.
struct Failure {
    int status;
    char text[kMessageBytes];
};

/// A Failure with VANTOR_INVALID.
__attribute__((format(printf, 1, 2))) Failure invalid(const char* format, ...);

/// A Failure with VANTOR_NO_MEMORY.
Failure noMemory();

/// Leaves a failure's text, made printable, where vantor_message() finds it: with `engine`, or with this
/// thread.
int report(vantor_engine* engine, const Failure& failure);

/// While it exists, errno and the floating-point environment are the library's own: results do not depend on
/// the caller's rounding mode, and the caller finds both as they were.
class OwnEnvironment {
public:
    OwnEnvironment();
    ~OwnEnvironment();
    OwnEnvironment(const OwnEnvironment&) = delete;
    OwnEnvironment& operator=(const OwnEnvironment&) = delete;

private:
    struct Kept;
    alignas(16) unsigned char kept_[64];
};

/// The status of what exception is being handled.
int reportCurrent(vantor_engine* engine) noexcept;

/// Calls `work` and returns VANTOR_OK, or the status of what it throws.
template <typename Work>
int guarded(vantor_engine* engine, Work&& work) noexcept {
    const OwnEnvironment environment;
    try {
        work();
        return VANTOR_OK;
    } catch (...) {
        return reportCurrent(engine);
    }
}

/// Throws where a pointer argument is null.
void checkPointer(const char* name, const void* pointer);

}  // namespace vantor::c
