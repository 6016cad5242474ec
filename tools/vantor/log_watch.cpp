#include "tools/vantor/log_watch.h"

#include <android/log.h>
#include <dlfcn.h>

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace {

std::vector<std::string> errorLines;

/// The text behind "file:function():line ".
std::string message(const std::string& line) {
    const size_t call = line.find("():");
    return call == std::string::npos ? line : line.substr(line.find(' ', call) + 1);
}

}  // namespace

/// Stands before the platform's own logger, and hands every line on to it.
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

std::string lastErrorLine() {
    return errorLines.empty() ? std::string() : errorLines.back();
}

std::string errorLineBefore(const std::string& text) {
    for (size_t i = errorLines.size(); i-- > 1;) {
        if (errorLines[i].find(text) != std::string::npos) return errorLines[i - 1];
    }
    return {};
}

}  // namespace vantor::tool
