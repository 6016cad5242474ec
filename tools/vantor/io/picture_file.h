// Picture files: PNG, JPEG, Y4M and raw frames.
#pragma once

#include <optional>
#include <string>
#include <utility>

#include "tools/vantor/picture/picture.h"
#include "tools/vantor/picture/planes.h"

namespace vantor::tool {

enum class FileType { Png, Jpeg, Y4m, Raw };

/// What options tell of a file; empty or 0 where not given. `optionPrefix` is "--input" or
/// "--output", or "--other" for the second of two inputs.
struct FileOptions {
    std::string optionPrefix;
    std::string format;
    std::string size;
    int stride = 0;
    int sliceHeight = 0;
    std::optional<int> quality{};  ///< of a JPEG that is written

    bool isGiven() const { return !format.empty() || !size.empty() || stride != 0 || sliceHeight != 0; }
};

/// Of two pictures that are looked at together.
struct PairOptions {
    FileOptions first{"--input", {}, {}};
    FileOptions second{"--other", {}, {}};
};

/// What is known of a picture file from its name and from options. Other files' headers have the rest.
struct FileSpec {
    std::string path;  ///< "-" for standard input or output
    FileType type = FileType::Raw;
    std::optional<PixelFormat> format;  ///< of raw files
    std::optional<Size> size;           ///< of raw files
    FileOptions options;
};

/// As name and options tell.
FileType fileType(const std::string& path, const FileOptions& options);

bool isPngName(const std::string& path);

/// Refuses other names of pictures that are drawn. Empty names are none.
void expectPngName(const std::string& option, const std::string& path);

/// Works out what an input is. Format and size are parts of the name, separated by "_", "-" or ".", as in
/// clip_1280x720_nv12.yuv or still-640x480.gray; options override the name. "-" is Y4M unless an option tells
/// otherwise. Refuses names that leave the format of a raw file open; before that, a file that does not
/// exist, a directory, and a file of a known foreign format.
FileSpec inputSpec(const std::string& path, const FileOptions& options);

/// The same for an output.
FileSpec outputSpec(const std::string& path, const FileOptions& options);

/// The specs of both. A raw second file takes the first's options where it has none of its own; of a raw file
/// and another, the first's options describe the raw one.
std::pair<FileSpec, FileSpec> inputSpecs(const std::string& first, const std::string& second,
                                         const PairOptions& options);

/// The shape of a raw file's frames. Refuses odd sizes with chroma at half the size, and strides and heights
/// that are too small; `what` is what an error about the size names.
FrameShape rawShape(const FileSpec& fileSpec, const std::string& what, PixelFormat format, Size size);

/// Reads the picture of a file that has one. A raw file needs a size. Alpha is dropped, with a note.
Picture readPicture(const FileSpec& fileSpec);

/// The format in which an output is written that was made from a picture read in `read`: that of its name or
/// option; for PNG, gray for gray and RGB for colour; for Y4M and JPEG, gray for gray and I420 for colour.
PixelFormat writtenFormat(const FileSpec& fileSpec, PixelFormat read);

/// The shape in which frames of a size are written. Refuses, before any work is done, a size that contradicts
/// the output's name, or that the chroma of a raw format cannot have. `what` is what an error names.
FrameShape writtenShape(const FileSpec& fileSpec, const std::string& what, PixelFormat format, Size size);

/// Refuses odd sizes of pictures in colour, which the library does not make. `what` is what an error names.
void checkEven(const std::string& what, Size size);

/// Writes a picture in its own format, atomically.
void writePicture(const FileSpec& fileSpec, const Picture& picture);

}  // namespace vantor::tool
