#include "tools/vantor/io/grid_file.h"

#include <filesystem>

#include "geometry/error.h"
#include "geometry/grid_text.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"

namespace vantor::tool {

Grid readGrid(const std::string& path) {
    const std::vector<uint8_t> bytes = readFile(path, kMaxTextBytes);
    try {
        return parseGrid({reinterpret_cast<const char*>(bytes.data()), bytes.size()});
    } catch (const GeometryError& error) {
        throw UserError(path + ": " + error.what());
    }
}

void writeGrid(const std::string& path, const Grid& grid, const std::string& comment) {
    const bool isText = std::filesystem::path(path).extension() == ".txt";
    const std::string bytes = isText ? toText(grid, escapeForTerminal(comment)) : toBinary(grid);
    writeFile(path, bytes);
}

}  // namespace vantor::tool
