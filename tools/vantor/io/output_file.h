// Output files that are written atomically.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace vantor::tool {

/// A file that gets its path when it is finished, so that a failed or interrupted run leaves the old file, or
/// none. Until then it has no name, or, on file systems without such files, one
/// beside its path. Anything but a regular file (a device, a pipe, and "-", standard output) is written to
/// directly. All files of a process are opened, finished and destroyed by one thread, which also takes its
/// signals; any may write.
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

    /// Removes all files that are not finished. Safe in signal handlers, and before the process ends.
    static void removeAll();

private:
    [[noreturn]] void fail() const;
    void openDirectly();
    void openTemporary();
    void openNamed(const std::string& directory);
    void linkTemporary();
    mode_t permissions() const;

    std::string name_;       ///< what an error names
    std::string target_;     ///< where links lead
    std::string temporary_;  ///< its name until it is finished, if it has one
    int descriptor_ = -1;
    bool isDirect_ = false;
    OutputFile* next_ = nullptr;  ///< of those with temporary names

    static OutputFile* first_;
};

void writeFile(const std::string& path, const std::vector<uint8_t>& bytes);
void writeFile(const std::string& path, const std::string& text);

/// Makes a directory, and those that it is in, unless it exists. Errors begin with `name`.
void makeDirectory(const std::string& name, const std::string& path);

/// Throws a UserError if what `option` names for writing is one of the other files of a run, by whatever
/// path; `hint` is the end of its message. "-" is standard output: among the others something
/// else goes there. Empty names are none.
void expectOtherFile(const std::string& option, const std::string& path,
                     const std::vector<std::string>& others, const std::string& hint = {});

}  // namespace vantor::tool
