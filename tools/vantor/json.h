// Documents for programs to read.
#pragma once

#include <cstdio>
#include <nlohmann/json.hpp>

namespace vantor::tool {

/// On standard output. What is no UTF-8, as file names may have it, is replaced.
inline void printDocument(const nlohmann::ordered_json& json) {
    std::printf("%s\n", json.dump(2, ' ', false, nlohmann::json::error_handler_t::replace).c_str());
}

}  // namespace vantor::tool
