// Pictures in memory, and their conversion to and from the formats that the library works on.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "geometry/size.h"

namespace vantor::tool {

/// Limits of the tool for either side of a picture. The scaler reads before the rows of pictures one or two
/// columns wide; above, byte counts must fit 32 bits.
constexpr int kMinSide = 4;
constexpr int kMaxSide = 16384;

/// "1280x720"
std::string toString(Size size);

/// Reads "1280x720" within the tool's limits. `what` is what an error names: an option or a file.
Size parseSize(const std::string& what, const std::string& text);

/// Refuses sizes outside the tool's limits.
void checkLimits(const std::string& what, Size size);

/// Sample formats, packed, and but for P010 of 8 bits.
enum class PixelFormat {
    Gray,  ///< a luma plane
    Nv12,  ///< a luma plane, then U and V interleaved at half the size in both directions
    Nv21,  ///< the same with V before U
    I420,  ///< a luma plane, then a U plane and a V plane of half the size in both directions
    Rgb,   ///< R, G, B interleaved
    P010,  ///< NV12 of 10 bits, in the upper bits of two bytes, the low one first; in files only: read as
           ///< NV12
};

/// "gray", "nv12", "nv21", "i420", "rgb" or "p010"
const char* toString(PixelFormat format);

/// Whether the format has chroma at half the size, rounded up.
bool isSubsampled(PixelFormat format);

size_t byteCount(PixelFormat format, Size size);

struct Picture {
    PixelFormat format;
    Size size;
    std::vector<uint8_t> bytes;
    bool isFullRange = false;  ///< of YUV, or of that made of RGB
};

Picture makePicture(PixelFormat format, Size size);

/// Where the samples of one colour component lie in a picture.
struct Component {
    const char* name;
    const uint8_t* first;
    Size size;
    size_t step;    ///< bytes from one sample to the next
    size_t stride;  ///< bytes from one row to the next

    const uint8_t* row(int y) const { return first + static_cast<size_t>(y) * stride; }
    int at(int x, int y) const { return row(y)[static_cast<size_t>(x) * step]; }
};

std::vector<Component> components(const Picture& picture);

/// Converts between any two formats. RGB is taken to and from YUV with the BT.601 matrix, in the picture's
/// range; gray gets neutral chroma; pictures lose their chroma on the way to gray. On the way to chroma at
/// half the size, a picture of odd size repeats its last column or row, with a note.
Picture convert(Picture picture, PixelFormat format);

/// The size of a picture that is worked on with chroma at half the size; with a note if it is larger.
Size evenSize(Size size);

}  // namespace vantor::tool
