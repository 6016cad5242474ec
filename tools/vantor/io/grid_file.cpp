#include "tools/vantor/io/grid_file.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <filesystem>
#include <sstream>

#include "gdc_model/grid_interp.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

using vantor::kGridNodes;
constexpr int kValues = kGridNodes * kGridNodes;

int32_t littleEndian(const uint8_t* bytes) {
    uint32_t value = 0;
    for (int i = 3; i >= 0; --i) value = value << 8 | bytes[i];
    return static_cast<int32_t>(value);
}

Grid fromWire(const std::vector<uint8_t>& bytes) {
    Grid grid;
    for (int k = 0; k < kValues; ++k) {
        grid.dX[k] = littleEndian(&bytes[static_cast<size_t>(4 * k)]);
        grid.dY[k] = littleEndian(&bytes[sizeof grid.dX + static_cast<size_t>(4 * k)]);
    }
    return grid;
}

void appendWire(const int32_t (&table)[kValues], std::vector<uint8_t>& bytes) {
    for (int32_t value : table) {
        for (int shift = 0; shift < 32; shift += 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
    }
}

/// The words of a text grid one by one, comments left out, with their line numbers.
class GridText {
public:
    GridText(const std::string& path, const std::string& text) : path_(path), text_(text) {}

    /// The next word, empty at the end.
    std::string next() {
        std::string word;
        while (!(words_ >> word)) {
            std::string line;
            if (!std::getline(text_, line)) return {};
            ++line_;
            words_ = std::istringstream(line.substr(0, line.find('#')));
        }
        return word;
    }

    void expect(const std::string& name) {
        const std::string word = next();
        if (word != name) fail(word, name.empty() ? "the end" : name);
    }

    int32_t number() {
        const std::string word = next();
        int32_t value = 0;
        const auto result = std::from_chars(word.data(), word.data() + word.size(), value);
        if (word.empty() || result.ec != std::errc() || result.ptr != word.data() + word.size()) {
            fail(word, "a number of 32 bits");
        }
        return value;
    }

private:
    [[noreturn]] void fail(const std::string& word, const std::string& expected) const {
        throw UserError(
            path_ + ": not a grid file: line " + std::to_string(line_) + ": " +
            (word.empty() ? "truncated" : "'" + word.substr(0, 40) + "'") + ", expected " + expected +
            " (a grid file is text, dX and dY with 33 x 33 numbers each, or 8712 bytes of binary data)");
    }

    std::string path_;
    std::istringstream text_;
    std::istringstream words_;
    int line_ = 0;
};

Grid fromText(const std::string& path, const std::vector<uint8_t>& bytes) {
    GridText text(path, std::string(bytes.begin(), bytes.end()));
    Grid grid;
    text.expect("dX");
    for (int32_t& value : grid.dX) value = text.number();
    text.expect("dY");
    for (int32_t& value : grid.dY) value = text.number();
    text.expect("");
    return grid;
}

void appendText(const char* name, const int32_t (&table)[kValues], std::string& text) {
    text += std::string(name) + "\n";
    for (int k = 0; k < kValues; ++k) {
        text += std::to_string(table[k]) + (k % kGridNodes == kGridNodes - 1 ? "\n" : " ");
    }
}

}  // namespace

Grid readGrid(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path, kMaxTextBytes);
    const bool isText =
        std::all_of(bytes.begin(), bytes.end(), [](uint8_t c) { return c >= ' ' || std::isspace(c); }) &&
        std::none_of(bytes.begin(), bytes.end(), [](uint8_t c) { return c == 0x7F; });
    // A text can have as many bytes as the binary form; binary data without any control character is not a
    // grid.
    if (isText) return fromText(path, bytes);
    if (bytes.size() == sizeof(Grid)) return fromWire(bytes);
    throw UserError(path + ": not a grid file: " + std::to_string(bytes.size()) +
                    " bytes that are not text, expected " + std::to_string(sizeof(Grid)));
}

void writeGrid(const std::string& path, const Grid& grid, const std::string& comment) {
    std::vector<uint8_t> bytes;
    if (std::filesystem::path(path).extension() == ".txt") {
        std::string text =
            "# Displacements of 33 x 33 grid nodes in 1/256 of a virtual frame of 8192 x 6144.\n# " +
            escapeForTerminal(comment) + "\n";
        appendText("dX", grid.dX, text);
        appendText("dY", grid.dY, text);
        bytes.assign(text.begin(), text.end());
    } else {
        appendWire(grid.dX, bytes);
        appendWire(grid.dY, bytes);
    }
    writeFile(path, bytes);
}

}  // namespace vantor::tool
