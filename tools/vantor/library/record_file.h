// Records of requests: what the library was asked and what it answered, in one file.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tools/vantor/library/request.h"

namespace vantor::tool {

struct RecordedPicture {
    Size size{};
    Region region{};
    std::string hash;             ///< of all planes, packed; empty where there is no picture
    std::vector<uint8_t> planes;  ///< packed; empty where the record has the hash alone
};

struct Record {
    Request request;
    PixelFormat format;  ///< Nv12 or Gray
    RecordedPicture source;
    RecordedPicture result;
    std::optional<RequestResult> requestResult;  ///< none: the request did not complete
    nlohmann::ordered_json madeBy;               ///< the build, the machine and the arguments
};

/// A picture with all samples and their hash.
RecordedPicture recordedPicture(const Planes& planes, const Region& region);

/// Written atomically; docs/records.md describes the format.
void writeRecord(const std::string& path, const Record& record);

/// Refuses files that are damaged, truncated, or not records: every length is checked before memory is taken
/// for it, and every hash before the record is used.
Record readRecord(const std::string& path);

/// The names of a request's parts, as files and reports have them.
const char* toString(Request::Operation operation);
const char* targetName(int32_t target);

}  // namespace vantor::tool
