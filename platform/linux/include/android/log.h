// The platform's logger, as far as the library uses it.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

typedef enum android_LogPriority {
    ANDROID_LOG_UNKNOWN = 0,
    ANDROID_LOG_DEFAULT,
    ANDROID_LOG_VERBOSE,
    ANDROID_LOG_DEBUG,
    ANDROID_LOG_INFO,
    ANDROID_LOG_WARN,
    ANDROID_LOG_ERROR,
    ANDROID_LOG_FATAL,
    ANDROID_LOG_SILENT,
} android_LogPriority;

/// Writes one line to standard error: "E VANTOR_CLIENT: text". The environment's VANTOR_LOG selects lines:
/// "off" none, "error" (the default, also for any other value) errors, "info" all from information on.
/// Returns 1 if the line was written and 0 if not.
int __android_log_print(int prio, const char* tag, const char* fmt, ...)
#if defined(__GNUC__)
    __attribute__((__format__(printf, 3, 4)))
#endif
    ;

#ifdef __cplusplus
}
#endif
