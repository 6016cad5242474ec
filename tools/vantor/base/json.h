// Documents for programs to read.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>
#include <string>

namespace vantor::tool {

/// In ASCII, so that nothing in it controls a terminal. What is not UTF-8, as file names may be, is
/// replaced. A negative indentation gives one line.
inline std::string toText(const nlohmann::ordered_json& json, int indentation) {
    return json.dump(indentation, ' ', true, nlohmann::json::error_handler_t::replace);
}

/// On standard output.
inline void printDocument(const nlohmann::ordered_json& json) {
    std::printf("%s\n", toText(json, 2).c_str());
}

}  // namespace vantor::tool
