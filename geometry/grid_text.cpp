#include "geometry/grid_text.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "geometry/error.h"

namespace vantor {
namespace {

constexpr int kValues = kGridNodes * kGridNodes;
constexpr std::string_view kSpace = " \t\n\v\f\r";

int32_t littleEndian(const char* bytes) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | static_cast<uint8_t>(bytes[i]);
    return static_cast<int32_t>(value);
}

Grid parseBinary(const char* bytes) {
    Grid grid;
    for (int k = 0; k < kValues; ++k) {
        grid.dX[k] = littleEndian(bytes + 4 * k);
        grid.dY[k] = littleEndian(bytes + sizeof grid.dX + 4 * k);
    }
    return grid;
}

/// The words of a text grid one by one, comments left out, with their line numbers.
class GridWords {
public:
    explicit GridWords(std::string_view text) : rest_(text) {}

    void expect(std::string_view name) {
        const std::string_view word = next();
        if (word != name) fail(word, name.empty() ? "the end" : name);
    }

    int32_t number() {
        const std::string_view word = next();
        int32_t value = 0;
        const auto [end, problem] = std::from_chars(word.data(), word.data() + word.size(), value);
        if (word.empty() || problem != std::errc() || end != word.data() + word.size())
            fail(word, "a number of 32 bits");
        return value;
    }

private:
    /// The next word, empty at the end.
    std::string_view next() {
        for (;;) {
            line_.remove_prefix(std::min(line_.find_first_not_of(kSpace), line_.size()));
            if (!line_.empty()) break;
            if (rest_.empty()) return {};
            const std::string_view line = taken(rest_, rest_.find('\n'));
            rest_.remove_prefix(std::min<size_t>(rest_.size(), 1));
            line_ = line.substr(0, line.find('#'));
            ++number_;
        }
        return taken(line_, line_.find_first_of(kSpace));
    }

    static std::string_view taken(std::string_view& from, size_t count) {
        const std::string_view start = from.substr(0, count);
        from.remove_prefix(start.size());
        return start;
    }

    [[noreturn]] void fail(std::string_view word, std::string_view expected) const {
        throw GeometryError(
            "not a grid file: line " + std::to_string(number_) + ": " +
            (word.empty() ? "truncated" : "'" + std::string(word.substr(0, 40)) + "'") + ", expected " +
            std::string(expected) +
            " (a grid file is text, dX and dY with 33 x 33 numbers each, or 8712 bytes of binary data)");
    }

    std::string_view rest_;
    std::string_view line_;
    int number_ = 0;
};

Grid parseText(std::string_view text) {
    GridWords words(text);
    Grid grid;
    words.expect("dX");
    for (int32_t& value : grid.dX) value = words.number();
    words.expect("dY");
    for (int32_t& value : grid.dY) value = words.number();
    words.expect("");
    return grid;
}

void appendBinary(const int32_t (&table)[kValues], std::string& bytes) {
    for (const int32_t value : table) {
        for (int shift = 0; shift < 32; shift += 8) bytes += static_cast<char>(value >> shift);
    }
}

void appendText(const char* name, const int32_t (&table)[kValues], std::string& text) {
    text += std::string(name) + "\n";
    for (int k = 0; k < kValues; ++k) {
        text += std::to_string(table[k]) + (k % kGridNodes == kGridNodes - 1 ? "\n" : " ");
    }
}

}  // namespace

bool isText(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](char c) {
        return (static_cast<unsigned char>(c) >= ' ' && c != 0x7F) || kSpace.find(c) != kSpace.npos;
    });
}

Grid parseGrid(std::string_view bytes) {
    // A text can have as many bytes as the binary form; binary data without any control character is not a
    // grid.
    if (isText(bytes)) return parseText(bytes);
    if (bytes.size() == kBinaryGridBytes) return parseBinary(bytes.data());
    throw GeometryError("not a grid file: " + std::to_string(bytes.size()) +
                        " bytes that are not text, expected " + std::to_string(kBinaryGridBytes));
}

std::string toBinary(const Grid& grid) {
    std::string bytes;
    bytes.reserve(kBinaryGridBytes);
    appendBinary(grid.dX, bytes);
    appendBinary(grid.dY, bytes);
    return bytes;
}

std::string toText(const Grid& grid, std::string_view comment) {
    std::string text = "# Displacements of 33 x 33 grid nodes in 1/256 of a virtual frame of 8192 x 6144.\n";
    if (!comment.empty()) text += "# " + std::string(comment) + "\n";
    appendText("dX", grid.dX, text);
    appendText("dY", grid.dY, text);
    return text;
}

}  // namespace vantor
