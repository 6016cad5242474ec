#include "bindings/c/failure.h"

#include <algorithm>
#include <cerrno>
#include <cfenv>
#include <cstdarg>
#include <cstdio>
#include <exception>
#include <new>

#include "bindings/c/engine.h"

namespace vantor::c {
namespace {

/// A string object here would keep the library from being unloaded.
thread_local char threadMessage[kMessageBytes];

}  // namespace

Failure invalid(const char* format, ...) {
    Failure failure{VANTOR_INVALID, {}};
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(failure.text, sizeof failure.text, format, arguments);
    va_end(arguments);
    return failure;
}

void checkPointer(const char* name, const void* pointer) {
    if (!pointer) throw invalid("%s is null", name);
}

Failure noMemory() {
    return {VANTOR_NO_MEMORY, "out of memory"};
}

int report(vantor_engine* engine, const Failure& failure) {
    char* const message = engine ? engine->message : threadMessage;
    std::transform(failure.text, failure.text + kMessageBytes, message,
                   [](char c) { return c == 0 || (c >= ' ' && c <= '~') ? c : '?'; });
    return failure.status;
}

struct OwnEnvironment::Kept {
    int errorNumber;
    std::fenv_t floating;
};

OwnEnvironment::OwnEnvironment() {
    static_assert(sizeof(Kept) <= sizeof kept_ && alignof(Kept) <= 16);
    Kept* kept = new (kept_) Kept;
    kept->errorNumber = errno;
    std::fegetenv(&kept->floating);
    std::fesetenv(FE_DFL_ENV);
}

OwnEnvironment::~OwnEnvironment() {
    const Kept* kept = std::launder(reinterpret_cast<Kept*>(kept_));
    std::fesetenv(&kept->floating);
    errno = kept->errorNumber;
}

int reportCurrent(vantor_engine* engine) noexcept {
    try {
        throw;
    } catch (const Failure& failure) {
        return report(engine, failure);
    } catch (const std::bad_alloc&) {
        return report(engine, noMemory());
    } catch (const std::exception& error) {
        return report(engine, invalid("%s", error.what()));
    }
}

}  // namespace vantor::c

const char* vantor_message(const vantor_engine* engine) {
    return engine ? engine->message : vantor::c::threadMessage;
}
