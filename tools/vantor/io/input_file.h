// Input files, read whole or piece by piece.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vantor::tool {

/// A file, or "-" for standard input, read from its beginning to its end.
class InputFile {
public:
    explicit InputFile(const std::string& path);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    /// Reads up to `count` bytes, fewer only where the file ends.
    size_t read(void* bytes, size_t count);

    /// Skips up to `count` bytes, fewer only where the file ends.
    size_t skip(size_t count);

    /// Reads up to `count` bytes of a regular file at an offset, fewer only where it ends; read() goes on
    /// where it was.
    size_t readAt(uintmax_t offset, void* bytes, size_t count) const;

    /// What an error names.
    const std::string& name() const { return name_; }
    int descriptor() const { return descriptor_; }
    /// Of a regular file.
    std::optional<uintmax_t> bytesLeft() const;

private:
    /// By calls of `read` with where to, how many at most, and how many are there.
    template <typename Part>
    size_t readParts(void* bytes, size_t count, Part&& read) const;

    std::string name_;
    int descriptor_;
    std::optional<uintmax_t> length_;  ///< of a regular file
    uintmax_t position_ = 0;
};

/// The file's length. Refuses anything but a readable regular file.
uintmax_t lengthOf(const std::string& path);

/// Of a text, which takes time and memory by its length: a grid or a calibration.
constexpr uintmax_t kMaxTextBytes = 512 * 1024;

/// A regular file of at most so many bytes.
std::vector<uint8_t> readFile(const std::string& path, uintmax_t maxBytes);

}  // namespace vantor::tool
