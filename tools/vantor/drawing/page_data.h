// What HTML pages of the tool hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <vector>

namespace vantor::tool {

std::string base64(const uint8_t* bytes, size_t count);

/// A page with data at the place of its marker.
std::vector<uint8_t> filledPage(std::string_view page, std::string_view marker,
                                const nlohmann::ordered_json& data);

}  // namespace vantor::tool
