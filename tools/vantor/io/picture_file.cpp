#include "tools/vantor/io/picture_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "tools/vantor/io/error.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/io/png_file.h"

namespace vantor::tool {
namespace {

constexpr Layout kRawLayouts[] = {Layout::Nv12, Layout::I420, Layout::Gray};

std::optional<Layout> findLayout(const std::string& word) {
    for (Layout layout : kRawLayouts) {
        if (word == toString(layout)) return layout;
    }
    return std::nullopt;
}

/// The words of the name in lower case; the last is the file's ending.
std::vector<std::string> wordsOf(const std::string& path) {
    std::vector<std::string> words(1);
    for (char c : path.substr(path.find_last_of('/') + 1)) {
        if (std::strchr("_-. ", c)) {
            words.emplace_back();
        } else {
            words.back() += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
        }
    }
    return words;
}

bool looksLikeSize(const std::string& word) {
    const size_t cross = word.find('x');
    const auto isNumber = [](const std::string& text) {
        return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    };
    return cross != std::string::npos && isNumber(word.substr(0, cross)) && isNumber(word.substr(cross + 1));
}

template <typename Value>
void takeOnly(std::optional<Value>& known, const std::optional<Value>& found, const std::string& trouble) {
    if (known && found && !(*known == *found))
        throw UserError(trouble + ": expected one, or an option that decides");
    if (found) known = found;
}

void applyOptions(FileForm& form, const FormOptions& options) {
    const std::string formatOption = options.optionPrefix + "-format";
    const std::string sizeOption = options.optionPrefix + "-size";
    if (form.isPng && !(options.format.empty() && options.size.empty())) {
        const bool isFormat = !options.format.empty();
        throw UserError((isFormat ? formatOption + " " + options.format : sizeOption + " " + options.size) +
                        ": " + form.path + " is a PNG file; the option is for raw files");
    }
    if (!options.format.empty()) {
        form.layout = findLayout(options.format);
        if (!form.layout)
            throw UserError(formatOption + " " + options.format + ": expected nv12, i420 or gray");
    }
    if (!options.size.empty()) form.size = parseSize(sizeOption, options.size);
}

Picture readRaw(const FileForm& form) {
    if (!form.size) {
        throw UserError(form.path +
                        ": size unknown: expected it in the name, as in clip_1280x720_nv12.yuv, or " +
                        "--input-size WIDTHxHEIGHT");
    }
    if (isSubsampled(*form.layout) && !form.size->isEven()) {
        throw UserError(form.path + ": " + toString(*form.layout) + " pictures of " + toString(*form.size) +
                        ": width and height must be even");
    }
    const size_t expected = byteCount(*form.layout, *form.size);
    if (const uintmax_t length = lengthOf(form.path); length != expected) {
        throw UserError(form.path + ": one " + toString(*form.size) + " " + toString(*form.layout) +
                        " picture has " + std::to_string(expected) + " bytes, the file has " +
                        std::to_string(length));
    }
    return {*form.layout, *form.size, readWhole(form.path)};
}

}  // namespace

bool isPngName(const std::string& path) {
    const std::vector<std::string> words = wordsOf(path);
    return words.size() > 1 && words.back() == "png";
}

FileForm fileForm(const std::string& path, const FormOptions& options) {
    FileForm form;
    form.path = path;
    form.isPng = isPngName(path);
    applyOptions(form, options);
    if (form.isPng) return form;
    const std::vector<std::string> words = wordsOf(path);
    if (!form.layout) form.layout = findLayout(words.back());
    const bool seeksLayout = !form.layout;
    const bool seeksSize = !form.size;
    for (const std::string& word : words) {
        if (seeksLayout) takeOnly(form.layout, findLayout(word), path + ": several layouts in the name");
        if (seeksSize && looksLikeSize(word)) {
            takeOnly(form.size, std::optional(parseSize(path + ":", word)),
                     path + ": several sizes in the name");
        }
    }
    if (!form.layout) {
        throw UserError(path +
                        ": layout unknown: expected a name ending in .png, .nv12, .i420 or .gray, or with " +
                        "one of these words as in clip_1280x720_nv12.yuv, or " + options.optionPrefix +
                        "-format nv12, i420 or gray");
    }
    return form;
}

FileForm fileFormInPair(const std::string& path, const std::string& other, const FormOptions& options) {
    const bool isForOther = isPngName(path) && !isPngName(other);
    return fileForm(path, isForOther ? FormOptions{options.optionPrefix, {}, {}} : options);
}

Picture readPicture(const FileForm& form) {
    return form.isPng ? readPng(form.path) : readRaw(form);
}

Layout writtenLayout(const FileForm& form, Layout read) {
    return form.layout.value_or(read == Layout::Gray ? Layout::Gray : Layout::Rgb);
}

void checkOutput(const FileForm& form, const std::string& what, Layout layout, Size size) {
    if (form.size && !(*form.size == size)) {
        throw UserError(what + " " + toString(size) + ": the output's name says " + toString(*form.size) +
                        " (" + form.path + ")");
    }
    if (isSubsampled(layout) && !size.isEven()) {
        throw UserError(what + " " + toString(size) + ": width and height of a colour picture must be even " +
                        "(chroma has half the size)");
    }
}

void writePicture(const FileForm& form, const Picture& picture) {
    writeWhole(form.path, form.isPng ? encodePng(form.path, picture) : picture.bytes);
}

}  // namespace vantor::tool
