// Picture files: PNG, and raw dumps of one picture.
#pragma once

#include <optional>
#include <string>

#include "tools/vantor/io/picture.h"

namespace vantor::tool {

/// What is known of a picture file from its name and from options. PNG files say the rest themselves.
struct FileForm {
    std::string path;
    bool isPng = false;
    std::optional<Layout> layout;  ///< of raw files
    std::optional<Size> size;      ///< of raw files
};

/// What the user says of a file with options; empty where not given. `optionPrefix` is "--input" or
/// "--output".
struct FormOptions {
    std::string optionPrefix;
    std::string format;
    std::string size;
};

bool isPngName(const std::string& path);

/// Works out a file's form. Layout and size are words of the name, set off by "_", "-" or ".", as in
/// clip_1280x720_nv12.yuv or still-640x480.gray; options win over the name. Refuses names that leave the
/// layout of a raw file open.
FileForm fileForm(const std::string& path, const FormOptions& options);

/// One of a pair of pictures, of which `other` is the other's name: of a PNG and a raw file, the options
/// speak of the raw one.
FileForm fileFormInPair(const std::string& path, const std::string& other, const FormOptions& options);

/// Reads a picture. A raw file needs a size, and as many bytes as that makes. Alpha is dropped, with a note.
Picture readPicture(const FileForm& form);

/// The layout in which an output is written that was made from a picture read in `read`: that of its name or
/// option; for PNG, gray for gray and RGB for colour.
Layout writtenLayout(const FileForm& form, Layout read);

/// Refuses, before any work is done, a size that contradicts the output's name, or that the chroma of
/// `layout` cannot have. `what` is what an error names.
void checkOutput(const FileForm& form, const std::string& what, Layout layout, Size size);

/// Writes a picture in its own layout: RGB or gray as PNG, the others raw. The file appears whole or not at
/// all.
void writePicture(const FileForm& form, const Picture& picture);

}  // namespace vantor::tool
