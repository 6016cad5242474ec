#include "tools/vantor/io/input_file.h"

#include <filesystem>
#include <fstream>

#include "tools/vantor/io/error.h"

namespace vantor::tool {

uintmax_t lengthOf(const std::string& path) {
    std::error_code error;
    const std::filesystem::file_status status = std::filesystem::status(path, error);
    if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
        throw UserError(path + ": expected a regular file");
    }
    const uintmax_t length = std::filesystem::file_size(path, error);
    if (error) throw UserError(path + ": " + error.message());
    return length;
}

std::vector<uint8_t> readWhole(const std::string& path) {
    std::vector<uint8_t> bytes(lengthOf(path));
    std::ifstream file(path, std::ios::binary);
    if (!file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()))) {
        throw UserError(path + ": cannot read all of its " + std::to_string(bytes.size()) + " bytes");
    }
    return bytes;
}

}  // namespace vantor::tool
