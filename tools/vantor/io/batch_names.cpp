#include "tools/vantor/io/batch_names.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <set>
#include <unordered_map>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {
namespace {

namespace fs = std::filesystem;

/// Where a number of a pattern is, such as "%03d".
struct Number {
    size_t at;
    size_t length;
};

/// From a position on. "%%" is no number.
std::optional<Number> findNumber(const std::string& text, size_t from) {
    for (size_t at = text.find('%', from); at != std::string::npos; at = text.find('%', at)) {
        const size_t end = text.find_first_not_of("0123456789", at + 1);
        if (end == std::string::npos) return {};
        if (text[end] == 'd') return Number{at, end + 1 - at};
        at = text[at + 1] == '%' ? at + 2 : end;
    }
    return {};
}

std::string withSinglePercents(std::string text) {
    for (size_t at = 0; (at = text.find("%%", at)) != std::string::npos; ++at) text.erase(at, 1);
    return text;
}

bool isDirectory(const std::string& path) {
    std::error_code ignored;
    return fs::is_directory(path, ignored);
}

/// The same for all paths to a file, which need not exist.
std::string identity(const std::string& path) {
    std::error_code ignored;
    return fs::weakly_canonical(fs::absolute(path, ignored), ignored).string();
}

}  // namespace

BatchNames::BatchNames(const std::string& option, const std::string& text) {
    const std::optional<Number> number = findNumber(text, 0);
    if (!number || isDirectory(text)) {
        begin_ = text + (text.back() == '/' ? "" : "/");
        return;
    }
    const size_t behind = number->at + number->length;
    const std::string digits = text.substr(number->at + 1, number->length - 2);
    if (findNumber(text, behind)) {
        throw UserError(option + " " + text + ": several numbers in the pattern, expected one, such as %03d");
    }
    if (digits.size() > 2) {
        throw UserError(option + " " + text + ": %" + digits + "d: expected at most 99 digits");
    }
    isPattern_ = true;
    begin_ = withSinglePercents(text.substr(0, number->at));
    end_ = withSinglePercents(text.substr(behind));
    hasZeros_ = !digits.empty() && digits[0] == '0';
    digits_ = digits.empty() ? 0 : std::stoi(digits);
}

bool BatchNames::isGiven(const std::string& text) {
    return (!text.empty() && text.back() == '/') || isDirectory(text) || findNumber(text, 0).has_value();
}

std::string BatchNames::of(size_t index, const std::string& file) const {
    if (!isPattern_) return begin_ + fs::path(file).filename().string();
    const std::string number = std::to_string(index + 1);
    const size_t padding = std::max(static_cast<size_t>(digits_), number.size()) - number.size();
    return begin_ + std::string(padding, hasZeros_ ? '0' : ' ') + number + end_;
}

void checkBatchInputs(const std::vector<std::string>& inputs, const FileOptions& options) {
    if (std::find(inputs.begin(), inputs.end(), "-") != inputs.end()) {
        throw UserError("-: standard input has no name to make another of: expected files");
    }
    const auto first = [&](bool isClip) {
        return std::find_if(inputs.begin(), inputs.end(), [&](const std::string& input) {
            const FileType type = fileType(input, options);
            return type != FileType::Raw && (type == FileType::Y4m) == isClip;
        });
    };
    const auto picture = first(false);
    const auto clip = first(true);
    if (picture != inputs.end() && clip != inputs.end()) {
        throw UserError(*picture + " is a picture, " + *clip + " a clip: expected either pictures or clips");
    }
}

void prepareBatchOutputs(const std::string& option, const std::vector<std::string>& outputs,
                         const std::vector<std::string>& inputs, const std::vector<std::string>& read,
                         bool overwriteInput, const std::string& hint) {
    std::unordered_map<std::string, size_t> inputAt;
    std::unordered_map<std::string, size_t> outputAt;
    std::set<std::string> directories;
    for (size_t i = 0; i < inputs.size(); ++i) inputAt.emplace(identity(inputs[i]), i);
    for (size_t i = 0; i < outputs.size(); ++i) {
        directories.insert(fs::path(outputs[i]).parent_path().string());
        expectOtherFile(option, outputs[i], read);
        const std::string file = identity(outputs[i]);
        const auto input = inputAt.find(file);
        const bool isOwn = input != inputAt.end() && input->second == i;
        if (input != inputAt.end() && !(isOwn && overwriteInput)) {
            throw UserError(option + " " + outputs[i] + ": is an input, too" + (isOwn ? hint : ""));
        }
        const auto [other, isNew] = outputAt.emplace(file, i);
        if (!isNew) {
            throw UserError(option + " " + outputs[i] + ": " + inputs[other->second] + " and " + inputs[i] +
                            " would both be written to it");
        }
    }
    for (const std::string& directory : directories)
        if (!directory.empty()) makeDirectory(option + " " + directory, directory);
}

}  // namespace vantor::tool
