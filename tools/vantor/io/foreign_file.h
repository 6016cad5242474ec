// Files of other programs, recognized so that an error can name them and the command that converts them.
#pragma once

#include <cstddef>
#include <string>

namespace vantor::tool {

constexpr size_t kSniffedBytes = 12;

/// What a file that begins with `start` is, and the command that converts it: "a GIF picture; this converts
/// it: ffmpeg -i photo.gif photo.png". Empty if it is not known.
std::string describeForeign(const std::string& path, const std::string& start);

/// How an error goes on that said what such a file is not: ", but a JPEG picture; ..." or nothing.
std::string insteadOf(const std::string& path, const std::string& start);

/// Refuses a path that leads to no file, or to a directory, before its name is looked at. "-" is standard
/// input.
void expectFile(const std::string& path);

/// Refuses a regular file that is known to be another program's.
void refuseForeign(const std::string& path);

}  // namespace vantor::tool
