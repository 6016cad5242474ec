#include "tools/vantor/library/log_watch.h"

#include <android/log.h>
#include <dlfcn.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {

std::vector<std::string> errorLines;

/// The text after "file:function():line ".
std::string message(const std::string& line) {
    const size_t call = line.find("():");
    return call == std::string::npos ? line : line.substr(line.find(' ', call) + 1);
}

}  // namespace

/// Wraps the platform's own logger, and passes every line on to it.
int __android_log_print(int prio, const char* tag, const char* fmt, ...) {
    char text[1024];
    va_list arguments;
    va_start(arguments, fmt);
    std::vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    if (prio >= ANDROID_LOG_ERROR) errorLines.push_back(message(text));
    static const auto next =
        reinterpret_cast<decltype(&__android_log_print)>(dlsym(RTLD_NEXT, "__android_log_print"));
    return next(prio, tag, "%s", text);
}

namespace vantor::tool {

void clearErrorLines() {
    errorLines.clear();
}

std::string firstErrorLine() {
    return errorLines.empty() ? std::string() : errorLines.front();
}

bool hasErrorLine(const std::string& text) {
    return std::any_of(errorLines.begin(), errorLines.end(),
                       [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

}  // namespace vantor::tool
