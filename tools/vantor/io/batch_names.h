// The names of many files that belong to others, one by one.
#pragma once

#include <string>
#include <vector>

#include "tools/vantor/io/picture_file.h"

namespace vantor::tool {

/// A directory, in which files keep their names, or a pattern such as out_%03d.png, which numbers them
/// from 1.
class BatchNames {
public:
    /// `option` is what an error names.
    BatchNames(const std::string& option, const std::string& text);

    /// Whether a text is such a directory or pattern: it ends with "/", names a directory, or has a number.
    static bool isGiven(const std::string& text);

    /// For the file at an index, from 0.
    std::string of(size_t index, const std::string& file) const;

private:
    std::string begin_;
    std::string end_;
    int digits_ = 0;
    bool isPattern_ = false;
    bool hasZeros_ = false;
};

/// Refuses standard input among several inputs, and pictures (PNG) mixed with clips (Y4M). Raw files may be
/// either.
void checkBatchInputs(const std::vector<std::string>& inputs, const FileOptions& options);

/// Refuses, before any work is done, two outputs with one name, and those that are an input or another file
/// that is read; then makes directories that are missing. An output may replace its own input where
/// `overwriteInput` says so; `hint` is how users say it.
void prepareBatchOutputs(const std::string& option, const std::vector<std::string>& outputs,
                         const std::vector<std::string>& inputs, const std::vector<std::string>& read,
                         bool overwriteInput, const std::string& hint);

}  // namespace vantor::tool
