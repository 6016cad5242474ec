#include "tools/vantor/base/terminal.h"

#include <array>
#include <atomic>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <set>
#include <string_view>

namespace vantor::tool {
namespace {

constexpr char kErase[] = "\r\033[K";
bool quiet = false;
std::atomic<bool> isLineOpen{false};  ///< rewriteLine() wrote one

/// The code point at the beginning of a text, and its bytes; 0 bytes where the text does not begin with
/// UTF-8.
struct CodePoint {
    uint32_t value;
    size_t bytes;
};

CodePoint firstOf(std::string_view text) {
    constexpr std::array<uint32_t, 5> kMinValue{0, 0, 0x80, 0x800, 0x10000};  // in so many bytes
    const auto lead = static_cast<uint8_t>(text[0]);
    if (lead < 0x80) return {lead, 1};
    const size_t bytes = lead < 0xC0 ? 0 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : lead < 0xF8 ? 4 : 0;
    if (bytes == 0 || text.size() < bytes) return {0, 0};
    uint32_t value = lead & (0x7FU >> bytes);
    for (const char c : text.substr(1, bytes - 1)) {
        const auto byte = static_cast<uint8_t>(c);
        if ((byte & 0xC0) != 0x80) return {0, 0};
        value = value << 6 | (byte & 0x3F);
    }
    const bool isSurrogate = value >= 0xD800 && value < 0xE000;
    const bool isCharacter = value >= kMinValue[bytes] && value <= 0x10FFFF && !isSurrogate;
    return {value, isCharacter ? bytes : 0};
}

bool isControl(uint32_t value) {
    return value < 0x20 || (value >= 0x7F && value < 0xA0);
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    std::string text(static_cast<size_t>(std::vsnprintf(nullptr, 0, format, again)), '\0');
    va_end(again);
    std::vsnprintf(text.data(), text.size() + 1, format, arguments);
    return text;
}

}  // namespace

std::string escapeForTerminal(const std::string& text) {
    std::string escaped;
    for (std::string_view rest = text; !rest.empty();) {
        const auto [value, bytes] = firstOf(rest);
        const std::string_view taken = rest.substr(0, bytes == 0 ? 1 : bytes);
        if (bytes != 0 && !isControl(value)) {
            escaped += taken;
        } else {
            constexpr char kDigits[] = "0123456789abcdef";
            for (const char c : taken) {
                const auto byte = static_cast<uint8_t>(c);
                escaped += {'\\', 'x', kDigits[byte >> 4], kDigits[byte & 15]};
            }
        }
        rest.remove_prefix(taken.size());
    }
    return escaped;
}

void printLine(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string line = escapeForTerminal(formatted(format, arguments)) + "\n";
    va_end(arguments);
    std::fputs(line.c_str(), stdout);
}

void printMessage(const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    const std::string line = (isLineOpen.exchange(false) ? kErase : "") +
                             ("vantor: " + escapeForTerminal(formatted(format, arguments))) + "\n";
    va_end(arguments);
    std::fputs(line.c_str(), stderr);
}

void rewriteLine(const std::string& text) {
    const std::string line = kErase + escapeForTerminal(text);
    isLineOpen = !text.empty();
    std::fputs(line.c_str(), stderr);
}

void summarize(const std::string& text) {
    if (!quiet) printMessage("%s", text.c_str());
}

void note(const std::string& text) {
    static std::mutex mutex;
    static std::set<std::string> given;
    const std::lock_guard<std::mutex> lock(mutex);
    if (!given.insert(text).second) return;
    summarize("note: " + text);
}

void setQuiet() {
    quiet = true;
}

bool isQuiet() {
    return quiet;
}

}  // namespace vantor::tool
