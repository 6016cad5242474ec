#include "tools/vantor/io/input_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/pipe.h"

namespace vantor::tool {

InputFile::InputFile(const std::string& path)
    : name_(path == "-" ? "standard input" : path),
      descriptor_(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)
                              : open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    struct stat status {};
    if (descriptor_ < 0 || fstat(descriptor_, &status) != 0)
        throw UserError(name_ + ": " + std::strerror(errno));
    if (S_ISREG(status.st_mode)) {
        length_ = static_cast<uintmax_t>(status.st_size);
        position_ = static_cast<uintmax_t>(lseek(descriptor_, 0, SEEK_CUR));
    } else if (S_ISDIR(status.st_mode) || isatty(descriptor_)) {
        throw UserError(name_ + ": expected a file or a pipe");
    }
    enlargePipe(descriptor_);
}

InputFile::~InputFile() {
    close(descriptor_);
}

template <typename Part>
size_t InputFile::readParts(void* bytes, size_t count, Part&& read) const {
    size_t done = 0;
    while (done < count) {
        const ssize_t part = read(static_cast<uint8_t*>(bytes) + done, count - done, done);
        if (part == 0) break;
        if (part < 0 && errno != EINTR) throw UserError(name_ + ": cannot read: " + std::strerror(errno));
        if (part > 0) done += static_cast<size_t>(part);
    }
    return done;
}

size_t InputFile::read(void* bytes, size_t count) {
    const size_t done = readParts(
        bytes, count, [this](void* to, size_t left, size_t) { return ::read(descriptor_, to, left); });
    position_ += done;
    return done;
}

size_t InputFile::readAt(uintmax_t offset, void* bytes, size_t count) const {
    return readParts(bytes, count, [&](void* to, size_t left, size_t done) {
        return pread(descriptor_, to, left, static_cast<off_t>(offset + done));
    });
}

size_t InputFile::skip(size_t count) {
    if (length_) {
        const auto rest = static_cast<size_t>(std::min<uintmax_t>(count, *bytesLeft()));
        if (lseek(descriptor_, static_cast<off_t>(rest), SEEK_CUR) < 0) {
            throw UserError(name_ + ": cannot read: " + std::strerror(errno));
        }
        position_ += rest;
        return rest;
    }
    std::vector<uint8_t> unused(std::min<size_t>(count, size_t{1} << 20));
    size_t done = 0;
    while (done < count) {
        const size_t part = read(unused.data(), std::min(count - done, unused.size()));
        if (part == 0) break;
        done += part;
    }
    return done;
}

std::optional<uintmax_t> InputFile::bytesLeft() const {
    if (!length_) return {};
    return *length_ - std::min(position_, *length_);
}

uintmax_t lengthOf(const std::string& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        const char* what = std::filesystem::is_directory(status) ? ": a directory" : "";
        throw UserError(path + what + ": expected a regular file");
    }
    const uintmax_t length = std::filesystem::file_size(path, error);
    if (error) throw UserError(path + ": " + error.message());
    return length;
}

std::vector<uint8_t> readFile(const std::string& path, uintmax_t maxBytes) {
    const uintmax_t length = lengthOf(path);
    if (length > maxBytes) {
        throw UserError(path + ": " + std::to_string(length) + " bytes: expected at most " +
                        std::to_string(maxBytes));
    }
    std::vector<uint8_t> bytes(length);
    InputFile file(path);
    if (file.read(bytes.data(), bytes.size()) != bytes.size()) {
        throw UserError(path + ": cannot read all of its " + std::to_string(bytes.size()) + " bytes");
    }
    return bytes;
}

}  // namespace vantor::tool
