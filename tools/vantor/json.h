// Documents for programs to read.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>

namespace vantor::tool {

/// On standard output, in ASCII, so that nothing in it speaks to a terminal. What is not UTF-8, as file names
/// may be, is replaced.
inline void printDocument(const nlohmann::ordered_json& json) {
    std::printf("%s\n", json.dump(2, ' ', true, nlohmann::json::error_handler_t::replace).c_str());
}

}  // namespace vantor::tool
