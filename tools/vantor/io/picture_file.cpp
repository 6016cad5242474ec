#include "tools/vantor/io/picture_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/clip_writer.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/io/foreign_file.h"

namespace vantor::tool {
namespace {

constexpr Layout kRawLayouts[] = {Layout::Nv12, Layout::Nv21, Layout::I420, Layout::Gray};
constexpr const char* kY4m = "y4m";

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

const char* toString(FileType type) {
    return type == FileType::Png ? "PNG" : type == FileType::Y4m ? "Y4M" : "raw";
}

FileType typeOf(const std::string& path, const FormOptions& options) {
    const std::vector<std::string> words = wordsOf(path);
    const bool isPipe = path == "-" && options.format.empty();
    if (isPipe || options.format == kY4m || (words.size() > 1 && words.back() == kY4m)) return FileType::Y4m;
    return isPngName(path) ? FileType::Png : FileType::Raw;
}

/// Options that describe raw files are for raw files.
void refuseOptions(const FileForm& form) {
    const FormOptions& options = form.options;
    const auto refuse = [&](bool isGiven, const std::string& name, const std::string& value) {
        if (!isGiven) return;
        throw UserError(options.optionPrefix + name + " " + value + ": " + form.path + " is a " +
                        toString(form.type) + " file; the option is for raw files");
    };
    refuse(!options.format.empty() && options.format != kY4m, "-format", options.format);
    refuse(!options.size.empty(), "-size", options.size);
    refuse(options.stride != 0, "-stride", std::to_string(options.stride));
    refuse(options.sliceHeight != 0, "-slice-height", std::to_string(options.sliceHeight));
}

/// The options of the second of two files, with the first's where it has none of its own.
FormOptions completed(FormOptions own, const FormOptions& first) {
    if (!own.isGiven()) return first;
    if (own.format.empty()) own.format = first.format;
    if (own.size.empty()) own.size = first.size;
    if (own.stride == 0) own.stride = first.stride;
    if (own.sliceHeight == 0) own.sliceHeight = first.sliceHeight;
    return own;
}

/// As far as name and options say.
FileForm formOf(const std::string& path, const FormOptions& options) {
    FileForm form;
    form.path = path;
    form.options = options;
    form.type = typeOf(path, options);
    if (form.type != FileType::Raw) {
        refuseOptions(form);
        return form;
    }
    if (!options.format.empty()) {
        form.layout = findLayout(options.format);
        if (!form.layout) {
            throw UserError(options.optionPrefix + "-format " + options.format +
                            ": expected nv12, nv21, i420, gray or y4m");
        }
    }
    if (!options.size.empty()) form.size = parseSize(options.optionPrefix + "-size", options.size);
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
    return form;
}

void expectLayout(const FileForm& form) {
    if (form.type != FileType::Raw || form.layout) return;
    throw UserError(form.path +
                    ": layout unknown: expected a name ending in .png, .y4m, .nv12, .nv21, .i420 or .gray, " +
                    "or with one of these words as in clip_1280x720_nv12.yuv, or " +
                    form.options.optionPrefix + "-format nv12, nv21, i420, gray or y4m");
}

}  // namespace

bool isPngName(const std::string& path) {
    const std::vector<std::string> words = wordsOf(path);
    return words.size() > 1 && words.back() == "png";
}

void expectPngName(const std::string& option, const std::string& path) {
    if (path.empty() || isPngName(path)) return;
    throw UserError(option + " " + path + ": expected a name ending in .png");
}

FileForm fileForm(const std::string& path, const FormOptions& options) {
    expectFile(path);
    const FileForm form = formOf(path, options);
    if (form.type == FileType::Raw && !form.layout) refuseForeign(path);
    expectLayout(form);
    return form;
}

FileForm outputForm(const std::string& path, const FormOptions& options) {
    const FileForm form = formOf(path, options);
    expectLayout(form);
    return form;
}

std::pair<FileForm, FileForm> fileForms(const std::string& first, const std::string& second,
                                        const PairOptions& options) {
    if (first == "-" && second == "-")
        throw UserError("two pictures from standard input: expected another file");
    const FormOptions shared = completed(options.second, options.first);
    const bool isShared =
        typeOf(second, options.second) == FileType::Raw || typeOf(second, shared) == FileType::Raw;
    const bool isForSecond = isShared && typeOf(first, options.first) != FileType::Raw;
    const std::string firstFormat = options.first.format == kY4m ? kY4m : "";
    return {fileForm(first,
                     isForSecond ? FormOptions{options.first.optionPrefix, firstFormat, {}} : options.first),
            fileForm(second, isShared ? shared : options.second)};
}

FrameShape rawShape(const FileForm& form, const std::string& what, Layout layout, Size size) {
    const FormOptions& options = form.options;
    if (isSubsampled(layout) && !size.isEven()) {
        throw UserError(what + " " + toString(size) + ": width and height of a picture in " +
                        toString(layout) + " must be even (chroma has half the size)");
    }
    FrameShape shape = packedShape(layout, size);
    const auto enlarge = [&](int& length, int given, const std::string& name, const std::string& unit) {
        if (given == 0) return;
        if (given < length) {
            throw UserError(options.optionPrefix + name + " " + std::to_string(given) + ": a " +
                            toString(size) + " " + toString(layout) + " picture has " +
                            std::to_string(length) + unit);
        }
        length = given;
    };
    enlarge(shape.stride, options.stride, "-stride", " bytes a row");
    enlarge(shape.sliceHeight, options.sliceHeight, "-slice-height", " rows");
    return shape;
}

Picture readPicture(const FileForm& form) {
    const std::unique_ptr<ClipReader> clip = openClip(form);
    std::optional<Picture> picture = readFrame(*clip);
    if (!picture) throw UserError(form.path + ": expected a picture, and it is empty");
    if (clip->skip()) {
        throw UserError(form.path +
                        ": more than one frame, expected one (vantor scale --size 100% --skip N --limit 1 " +
                        "takes one out)");
    }
    return std::move(*picture);
}

Layout writtenLayout(const FileForm& form, Layout read) {
    const Layout color = form.type == FileType::Y4m ? Layout::I420 : Layout::Rgb;
    return form.layout.value_or(read == Layout::Gray ? Layout::Gray : color);
}

FrameShape writtenShape(const FileForm& form, const std::string& what, Layout layout, Size size) {
    if (form.size && !(*form.size == size)) {
        throw UserError(what + " " + toString(size) + ": the output's name says " + toString(*form.size) +
                        " (" + form.path + ")");
    }
    return form.type == FileType::Raw ? rawShape(form, what, layout, size) : packedShape(layout, size);
}

void checkEven(const std::string& what, Size size) {
    if (size.isEven()) return;
    throw UserError(what + " " + toString(size) + ": width and height of a colour picture must be even " +
                    "(chroma has half the size)");
}

void writePicture(const FileForm& form, const Picture& picture) {
    const FrameShape shape = packedShape(picture.layout, picture.size);
    ClipWriter writer(form, shape, newHeader(picture.layout, picture.size, {}));
    writer.write(picture.bytes.data(), {});
    writer.finish();
}

}  // namespace vantor::tool
