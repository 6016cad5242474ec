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

/// The members of `json` after that number.
inline nlohmann::ordered_json documentOf(const nlohmann::ordered_json& json) {
    nlohmann::ordered_json document{{"schema", kSchema}};
    document.update(json);
    return document;
}

/// On standard output.
inline void printDocument(const nlohmann::ordered_json& json) {
    std::printf("%s\n", toText(documentOf(json), 2).c_str());
}

/// One with a list that is written element by element, so that none is kept in memory. Nothing is written
/// before the first, of which there is one at least.
class StreamedDocument {
public:
    /// With the members of `head`, and then the list.
    StreamedDocument(const nlohmann::ordered_json& head, const std::string& list) : start_(documentOf(head)) {
        start_[list] = nlohmann::ordered_json::array();
    }

    void add(const nlohmann::ordered_json& element) {
        std::printf("%s\n    %s", isEmpty_ ? start().c_str() : ",", toText(element, -1).c_str());
        isEmpty_ = false;
    }

    /// With the members that follow the list.
    void end(const nlohmann::ordered_json& tail) const {
        std::printf("\n  ],\n%s\n", toText(tail, 2).substr(2).c_str());
    }

private:
    /// Up to the list's first bracket.
    std::string start() const {
        const std::string text = toText(start_, 2);
        return text.substr(0, text.size() - std::string("]\n}").size());
    }

    nlohmann::ordered_json start_;
    bool isEmpty_ = true;
};

}  // namespace vantor::tool
