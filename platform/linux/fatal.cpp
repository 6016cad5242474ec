#include "fatal.h"

#include <android/log.h>

#include <cstdlib>

void vantorPlatformFatal(const char* tag, const char* text) {
    __android_log_print(ANDROID_LOG_FATAL, tag, "%s", text);
    std::abort();
}
