// Output files that appear whole or not at all.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::tool {

/// A file that is written beside its path and renamed to it when it is finished, so that a failed or
/// interrupted run leaves the old file, or none. What is no regular file (a device, a pipe, and "-", standard
/// output) is written to directly.
class OutputFile {
public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    /// Writes `head` and then `bytes`.
    void write(const std::string& head, const uint8_t* bytes, size_t count);
    void write(const uint8_t* bytes, size_t count) { write({}, bytes, count); }

    void finish();

private:
    [[noreturn]] void fail() const;
    void openDirectly();
    void openTemporary();
    mode_t rights() const;

    std::string name_;  ///< what an error names
    std::string goal_;  ///< where links lead
    std::string temporary_;
    int descriptor_ = -1;
    OutputFile* next_ = nullptr;  ///< of those with temporary files

    static OutputFile* first_;
    static void removeAllAndEnd(int signal);
};

void writeWhole(const std::string& path, const std::vector<uint8_t>& bytes);

}  // namespace vantor::tool
