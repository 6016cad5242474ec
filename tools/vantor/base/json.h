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

/// The number of the documents' form, their first member: another one where a member changes its meaning or
/// is gone.
constexpr int kSchema = 1;

/// On standard output.
inline void printDocument(const nlohmann::ordered_json& json) {
    nlohmann::ordered_json document{{"schema", kSchema}};
    document.update(json);
    std::printf("%s\n", toText(document, 2).c_str());
}

}  // namespace vantor::tool
