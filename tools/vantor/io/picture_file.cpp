#include "tools/vantor/io/picture_file.h"

#include <algorithm>
#include <cctype>
#include <cstring>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/clip_reader.h"
#include "tools/vantor/io/clip_writer.h"
#include "tools/vantor/io/foreign_file.h"

namespace vantor::tool {
namespace {

constexpr PixelFormat kRawFormats[] = {PixelFormat::Nv12, PixelFormat::Nv21, PixelFormat::I420,
                                       PixelFormat::Gray, PixelFormat::P010};
constexpr const char* kY4m = "y4m";

std::optional<PixelFormat> findFormat(const std::string& word) {
    for (PixelFormat format : kRawFormats) {
        if (word == toString(format)) return format;
    }
    if (word == "p010le") return PixelFormat::P010;
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
void takeOnly(std::optional<Value>& known, const std::optional<Value>& found, const std::string& problem) {
    if (known && found && !(*known == *found))
        throw UserError(problem + ": expected one, or an option that decides");
    if (found) known = found;
}

const char* toString(FileType type) {
    if (type == FileType::Jpeg) return "JPEG";
    return type == FileType::Png ? "PNG" : type == FileType::Y4m ? "Y4M" : "raw";
}

/// Options that describe raw files are for raw files, and the quality is for JPEG files.
void refuseOptions(const FileSpec& fileSpec) {
    const FileOptions& options = fileSpec.options;
    if (options.quality && fileSpec.type != FileType::Jpeg) {
        throw UserError("--quality " + std::to_string(*options.quality) + ": " + fileSpec.path + " is a " +
                        toString(fileSpec.type) + " file; the option is for JPEG files");
    }
    const auto refuse = [&](bool isGiven, const std::string& name, const std::string& value) {
        if (!isGiven || fileSpec.type == FileType::Raw) return;
        throw UserError(options.optionPrefix + name + " " + value + ": " + fileSpec.path + " is a " +
                        toString(fileSpec.type) + " file; the option is for raw files");
    };
    refuse(!options.format.empty() && options.format != kY4m, "-format", options.format);
    refuse(!options.size.empty(), "-size", options.size);
    refuse(options.stride != 0, "-stride", std::to_string(options.stride));
    refuse(options.sliceHeight != 0, "-slice-height", std::to_string(options.sliceHeight));
}

/// The options of the second of two files, with the first's where it has none of its own.
FileOptions completed(FileOptions own, const FileOptions& first) {
    if (!own.isGiven()) return first;
    if (own.format.empty()) own.format = first.format;
    if (own.size.empty()) own.size = first.size;
    if (own.stride == 0) own.stride = first.stride;
    if (own.sliceHeight == 0) own.sliceHeight = first.sliceHeight;
    return own;
}

/// As far as name and options tell.
FileSpec fileSpecOf(const std::string& path, const FileOptions& options) {
    FileSpec fileSpec;
    fileSpec.path = path;
    fileSpec.options = options;
    fileSpec.type = fileType(path, options);
    refuseOptions(fileSpec);
    if (fileSpec.type != FileType::Raw) return fileSpec;
    if (!options.format.empty()) {
        fileSpec.format = findFormat(options.format);
        if (!fileSpec.format) {
            throw UserError(options.optionPrefix + "-format " + options.format +
                            ": expected nv12, nv21, i420, gray, p010 or y4m");
        }
    }
    if (!options.size.empty()) fileSpec.size = parseSize(options.optionPrefix + "-size", options.size);
    const std::vector<std::string> words = wordsOf(path);
    if (!fileSpec.format) fileSpec.format = findFormat(words.back());
    const bool seeksFormat = !fileSpec.format;
    const bool seeksSize = !fileSpec.size;
    for (const std::string& word : words) {
        if (seeksFormat) takeOnly(fileSpec.format, findFormat(word), path + ": several layouts in the name");
        if (seeksSize && looksLikeSize(word)) {
            takeOnly(fileSpec.size, std::optional(parseSize(path + ":", word)),
                     path + ": several sizes in the name");
        }
    }
    return fileSpec;
}

void expectFormat(const FileSpec& fileSpec) {
    if (fileSpec.type != FileType::Raw || fileSpec.format) return;
    throw UserError(
        fileSpec.path +
        ": format unknown: expected a name ending in .png, .jpg, .y4m, .nv12, .nv21, .i420 or .gray, " +
        "or with one of these words as in clip_1280x720_nv12.yuv, or " + fileSpec.options.optionPrefix +
        "-format nv12, nv21, i420, gray or y4m");
}

}  // namespace

FileType fileType(const std::string& path, const FileOptions& options) {
    const std::vector<std::string> words = wordsOf(path);
    const bool isPipe = path == "-" && options.format.empty();
    if (isPipe || options.format == kY4m || (words.size() > 1 && words.back() == kY4m)) return FileType::Y4m;
    if (words.size() > 1 && (words.back() == "jpg" || words.back() == "jpeg")) return FileType::Jpeg;
    return isPngName(path) ? FileType::Png : FileType::Raw;
}

bool isPngName(const std::string& path) {
    const std::vector<std::string> words = wordsOf(path);
    return words.size() > 1 && words.back() == "png";
}

void expectPngName(const std::string& option, const std::string& path) {
    if (path.empty() || isPngName(path)) return;
    throw UserError(option + " " + path + ": expected a name ending in .png");
}

FileSpec inputSpec(const std::string& path, const FileOptions& options) {
    expectFile(path);
    const FileSpec fileSpec = fileSpecOf(path, options);
    if (fileSpec.type == FileType::Raw && !fileSpec.format) refuseForeign(path);
    expectFormat(fileSpec);
    return fileSpec;
}

FileSpec outputSpec(const std::string& path, const FileOptions& options) {
    const FileSpec fileSpec = fileSpecOf(path, options);
    expectFormat(fileSpec);
    if (fileSpec.format == PixelFormat::P010)
        throw UserError(path + ": P010 is only read: expected nv12, nv21, i420 or gray for a raw result");
    return fileSpec;
}

std::pair<FileSpec, FileSpec> inputSpecs(const std::string& first, const std::string& second,
                                         const PairOptions& options) {
    if (first == "-" && second == "-")
        throw UserError("two pictures from standard input: expected another file");
    const FileOptions shared = completed(options.second, options.first);
    const bool isShared =
        fileType(second, options.second) == FileType::Raw || fileType(second, shared) == FileType::Raw;
    const bool isForSecond = isShared && fileType(first, options.first) != FileType::Raw;
    const std::string firstFormat = options.first.format == kY4m ? kY4m : "";
    return {inputSpec(first,
                      isForSecond ? FileOptions{options.first.optionPrefix, firstFormat, {}} : options.first),
            inputSpec(second, isShared ? shared : options.second)};
}

FrameShape rawShape(const FileSpec& fileSpec, const std::string& what, PixelFormat format, Size size) {
    const FileOptions& options = fileSpec.options;
    if (isSubsampled(format) && !size.isEven()) {
        throw UserError(what + " " + toString(size) + ": width and height of a picture in " +
                        toString(format) + " must be even (chroma has half the size)");
    }
    FrameShape shape = packedShape(format, size);
    const auto enlarge = [&](int& length, int given, const std::string& name, const std::string& unit) {
        if (given == 0) return;
        if (given < length) {
            throw UserError(options.optionPrefix + name + " " + std::to_string(given) + ": a " +
                            toString(size) + " " + toString(format) + " picture has " +
                            std::to_string(length) + unit);
        }
        length = given;
    };
    enlarge(shape.stride, options.stride, "-stride", " bytes a row");
    enlarge(shape.sliceHeight, options.sliceHeight, "-slice-height", " rows");
    return shape;
}

Picture readPicture(const FileSpec& fileSpec) {
    const std::unique_ptr<ClipReader> clip = openClip(fileSpec);
    std::optional<Picture> picture = readFrame(*clip);
    if (!picture) throw UserError(fileSpec.path + ": the file is empty, expected a picture");
    if (clip->skip()) {
        throw UserError(fileSpec.path +
                        ": more than one frame, expected one (vantor scale --size 100% --skip N --limit 1 " +
                        "takes one out)");
    }
    return std::move(*picture);
}

PixelFormat writtenFormat(const FileSpec& fileSpec, PixelFormat read) {
    const PixelFormat color = fileSpec.type == FileType::Png ? PixelFormat::Rgb : PixelFormat::I420;
    return fileSpec.format.value_or(read == PixelFormat::Gray ? PixelFormat::Gray : color);
}

FrameShape writtenShape(const FileSpec& fileSpec, const std::string& what, PixelFormat format, Size size) {
    if (fileSpec.size && !(*fileSpec.size == size)) {
        throw UserError(what + " " + toString(size) + ": the output's name gives " +
                        toString(*fileSpec.size) + " (" + fileSpec.path + ")");
    }
    return fileSpec.type == FileType::Raw ? rawShape(fileSpec, what, format, size)
                                          : packedShape(format, size);
}

void checkEven(const std::string& what, Size size) {
    if (size.isEven()) return;
    throw UserError(what + " " + toString(size) + ": width and height of a colour picture must be even " +
                    "(chroma has half the size)");
}

void writePicture(const FileSpec& fileSpec, const Picture& picture) {
    const FrameShape shape = packedShape(picture.format, picture.size);
    OutputFile file(fileSpec.path);
    ClipWriter writer(file, fileSpec, shape, newHeader(picture.format, picture.size, {}));
    writer.write(picture.bytes.data(), {});
    file.finish();
}

}  // namespace vantor::tool
