#include "tools/vantor/io/map_file.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "tools/vantor/base/error.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/picture/picture.h"

namespace vantor::tool {
namespace {

using namespace std::string_view_literals;

constexpr size_t kMaxHeader = 4096;  ///< NumPy writes 128 bytes at most for such arrays

/// What a file's header says of its array.
struct NpyHeader {
    bool isBigEndian;
    std::vector<int> shape;
};

std::string shapeText(const std::vector<int>& shape) {
    std::string text;
    for (const int side : shape) text += (text.empty() ? "" : ", ") + std::to_string(side);
    return "(" + text + ")";
}

/// A value of NumPy's header, a Python dictionary without its spaces: what is behind the key, up to a comma,
/// and in brackets up to the closing one.
std::string_view valueOf(std::string_view header, const std::string& key, char end) {
    const std::string name = "'" + key + "':";
    const size_t at = header.find(name);
    if (at == std::string_view::npos) throw UserError("not a NumPy file: its header has no " + key);
    const std::string_view rest = header.substr(at + name.size());
    return rest.substr(0, rest.find(end));
}

std::vector<int> shapeOf(std::string_view text) {
    std::vector<int> shape;
    for (size_t at = 1; at < text.size();) {
        int side = 0;
        const auto [end, problem] = std::from_chars(text.data() + at, text.data() + text.size(), side);
        const auto stop = static_cast<size_t>(end - text.data());
        if (problem != std::errc() || side < 0 || (stop < text.size() && text[stop] != ','))
            throw UserError("shape " + std::string(text.substr(0, 40)) + "), expected integers");
        shape.push_back(side);
        at = stop + 1;
    }
    return shape;
}

NpyHeader parseHeader(std::string text) {
    text.erase(std::remove(text.begin(), text.end(), ' '), text.end());
    const std::string_view type = valueOf(text, "descr", ',');
    if (type != "'<f4'"sv && type != "'>f4'"sv) {
        throw UserError("elements of type " + std::string(type.substr(0, 40)) +
                        ", expected float32, as cv2.initUndistortRectifyMap gives it for cv2.CV_32FC1");
    }
    const std::string_view isColumnMajor = valueOf(text, "fortran_order", ',');
    if (isColumnMajor != "False"sv)
        throw UserError("columns behind each other, expected rows; numpy.ascontiguousarray() arranges them");
    return {type[1] == '>', shapeOf(valueOf(text, "shape", ')'))};
}

size_t littleEndian(const uint8_t* bytes, size_t count) {
    size_t value = 0;
    while (count-- > 0) value = value << 8 | bytes[count];
    return value;
}

NpyHeader readHeader(InputFile& file) {
    constexpr std::string_view kMagic = "\x93NUMPY"sv;
    uint8_t start[8];
    if (file.read(start, sizeof start) != sizeof start ||
        std::memcmp(start, kMagic.data(), kMagic.size()) != 0)
        throw UserError("not a NumPy file");
    const int version = start[6];
    if (version < 1 || version > 3)
        throw UserError("NumPy's format version " + std::to_string(version) + ", expected 1 to 3");
    uint8_t lengthBytes[4];
    const size_t count = version == 1 ? 2 : 4;
    const bool hasLength = file.read(lengthBytes, count) == count;
    const size_t length = hasLength ? littleEndian(lengthBytes, count) : 0;
    if (length > kMaxHeader) {
        throw UserError("a header of " + std::to_string(length) + " bytes, expected at most " +
                        std::to_string(kMaxHeader));
    }
    std::string text(length, '\0');
    if (file.read(text.data(), length) != length) throw UserError("truncated in its header");
    return parseHeader(text);
}

void swapBytes(float& value) {
    uint32_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    bits = __builtin_bswap32(bits);
    std::memcpy(&value, &bits, sizeof bits);
}

struct Array {
    std::vector<float> values;
    Size size;
};

/// Of shape (height, width), or with a third dimension (height, width, 2).
Array readArray(const std::string& path, size_t dimensions) {
    constexpr bool kIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
    lengthOf(path);  // refuses what is not a regular file
    InputFile file(path);
    const NpyHeader header = readHeader(file);
    const std::string shape = "shape " + shapeText(header.shape);
    if (header.shape.size() != dimensions || (dimensions == 3 && header.shape[2] != 2))
        throw UserError(shape + ", expected " + (dimensions == 3 ? "(height, width, 2)" : "(height, width)"));
    const Size size{header.shape[1], header.shape[0]};
    if (std::min(size.width, size.height) < 1 || std::max(size.width, size.height) > kMaxSide)
        throw UserError(shape + ", expected sides from 1 to " + std::to_string(kMaxSide));
    Array array{{}, size};
    const size_t count = size.pixels() * (dimensions == 3 ? 2 : 1);
    const uintmax_t bytes = uintmax_t{count} * sizeof(float);
    if (const uintmax_t left = file.bytesLeft().value_or(0); left != bytes) {
        throw UserError(std::to_string(left) + " bytes after the header, expected " + std::to_string(bytes) +
                        " for " + shape);
    }
    array.values.resize(count);
    if (file.read(array.values.data(), bytes) != bytes) throw UserError("cannot read all of it");
    if (header.isBigEndian != kIsBigEndian)
        std::for_each(array.values.begin(), array.values.end(), swapBytes);
    return array;
}

Array readNamedArray(const std::string& path, size_t dimensions) {
    try {
        return readArray(path, dimensions);
    } catch (const UserError& error) {
        const std::string message = error.what();  // those of the system name the file themselves
        throw UserError(message.compare(0, path.size(), path) == 0 ? message : path + ": " + message);
    }
}

}  // namespace

MapFile readMap(const std::string& path, const std::string& yPath) {
    if (yPath.empty()) {
        const auto [values, size] = readNamedArray(path, 3);
        MapFile map{std::vector<float>(size.pixels()), std::vector<float>(size.pixels()), size};
        for (size_t i = 0; i < size.pixels(); ++i) {
            map.x[i] = values[2 * i];
            map.y[i] = values[2 * i + 1];
        }
        return map;
    }
    Array x = readNamedArray(path, 2);
    Array y = readNamedArray(yPath, 2);
    if (!(x.size == y.size)) {
        throw UserError(yPath + ": " + toString(y.size) + ", expected the size of " + path + ", " +
                        toString(x.size));
    }
    return {std::move(x.values), std::move(y.values), x.size};
}

}  // namespace vantor::tool
