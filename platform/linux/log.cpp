#include <android/log.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

int lowestPriority() {
    const char* level = std::getenv("VANTOR_LOG");
    if (level && std::strcmp(level, "off") == 0) return ANDROID_LOG_SILENT;
    if (level && std::strcmp(level, "info") == 0) return ANDROID_LOG_INFO;
    return ANDROID_LOG_ERROR;
}

char letter(int priority) {
    constexpr char kLetters[] = "??VDIWEFS";
    return priority >= 0 && priority <= ANDROID_LOG_SILENT ? kLetters[priority] : '?';
}

}  // namespace

int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    if (prio < lowestPriority()) return 0;
    char text[1024];
    va_list arguments;
    va_start(arguments, fmt);
    std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    // One call per line, so that lines of several threads do not mix.
    std::fprintf(stderr, "%c %s: %s\n", letter(prio), tag, text);
    return 1;
}
