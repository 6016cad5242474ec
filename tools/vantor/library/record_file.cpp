#include "tools/vantor/library/record_file.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <iterator>

#include "gdc_model/grid_interp.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/io/input_file.h"
#include "tools/vantor/io/output_file.h"
#include "tools/vantor/picture/picture_hash.h"

namespace vantor::tool {
namespace {

using Json = nlohmann::ordered_json;
using Operation = Request::Operation;

constexpr int kVersion = 1;
constexpr size_t kFirstLine = sizeof "vantor-record 1 00012345 0123456789abcdef\n" - 1;
constexpr size_t kMaxHeaderBytes = 128 * 1024;
constexpr int kDeepestHeader = 8;  ///< objects and lists around a value
constexpr Operation kOperations[] = {Operation::InterpBicubic, Operation::Csc, Operation::GdcGrid,
                                     Operation::GdcMatrix};

bool isWarp(Operation operation) {
    return operation == Operation::GdcGrid || operation == Operation::GdcMatrix;
}

std::string hashOf(const uint8_t* bytes, size_t count) {
    PictureHash hash;
    hash.add(bytes, count);
    return hash.text();
}

// Writing.

Json toJson(Size size, Region region) {
    return {{"size", {size.width, size.height}},
            {"region", {region.left, region.top, region.right, region.bottom}}};
}

Json rowsOf(const int32_t (&table)[kGridNodes * kGridNodes]) {
    Json rows = Json::array();
    for (int r = 0; r < kGridNodes; ++r) {
        rows.push_back(std::vector<int32_t>(table + r * kGridNodes, table + (r + 1) * kGridNodes));
    }
    return rows;
}

Json resultOf(const Record& record) {
    if (!record.requestResult) return {};
    Json json{{"status", record.requestResult->status}, {"error", record.requestResult->error}};
    if (!record.requestResult->isMade) return json;
    json["hash"] = record.result.hash;
    json["planes"] = !record.result.planes.empty();
    return json;
}

Json headerOf(const Record& record) {
    const Request& request = record.request;
    Json json{{"operation", toString(request.operation)}};
    if (isWarp(request.operation)) json["target"] = targetName(request.target);
    json["format"] = toString(record.format);
    json["source"] = toJson(record.source.size, record.source.region);
    json["source"]["hash"] = record.source.hash;
    json["source"]["planes"] = !record.source.planes.empty();
    json["destination"] = toJson(record.result.size, record.result.region);
    json["result"] = resultOf(record);
    json["made_by"] = record.madeBy;
    if (request.operation == Operation::GdcMatrix) json["matrix"] = request.matrix;
    if (request.operation == Operation::GdcGrid) {
        json["grid"] = {{"dX", rowsOf(request.grid.dX)}, {"dY", rowsOf(request.grid.dY)}};
    }
    return json;
}

/// A line for each member, and for each row of a grid.
std::string textOf(const Json& header) {
    std::string text;
    for (const auto& [key, value] : header.items()) {
        std::string line = value.dump(-1, ' ', false, Json::error_handler_t::replace);
        for (size_t at = 0; key == "grid" && (at = line.find("],[", at)) != std::string::npos;) {
            line.insert(at + 2, "\n  ");
        }
        text += (text.empty() ? "{\n" : ",\n") + std::string(" \"") + key + "\": " + line;
    }
    return text + "\n}\n";
}

// Reading.

[[noreturn]] void refuse(const std::string& path, const std::string& problem) {
    throw UserError(path + ": not a valid record: " + problem);
}

/// A value of the header and the name by which an error calls it.
class Field {
public:
    Field(const std::string& path, std::string name, const Json& value)
        : path_(path), name_(std::move(name)), value_(value) {}

    bool has(const std::string& key) const { return value_.is_object() && value_.contains(key); }
    bool isNull() const { return value_.is_null(); }
    const Json& json() const { return value_; }

    Field operator[](const std::string& key) const {
        const std::string name = name_.empty() ? key : name_ + "." + key;
        if (!has(key)) refuse(path_, name + " is missing");
        return {path_, name, value_[key]};
    }
    /// The elements of a list of that length.
    std::vector<Field> list(size_t length) const {
        if (!value_.is_array() || value_.size() != length) fail("a list of " + std::to_string(length));
        std::vector<Field> fields;
        for (size_t i = 0; i < length; ++i) {
            fields.emplace_back(path_, name_ + "[" + std::to_string(i) + "]", value_[i]);
        }
        return fields;
    }
    int number(int64_t low, int64_t high) const {
        const bool isTooLarge =
            value_.is_number_unsigned() && value_.get<uint64_t>() > static_cast<uint64_t>(high);
        if (!value_.is_number_integer() || isTooLarge || value_.get<int64_t>() < low ||
            value_.get<int64_t>() > high) {
            fail("a whole number from " + std::to_string(low) + " to " + std::to_string(high));
        }
        return value_.get<int>();
    }
    int anyNumber() const { return number(INT32_MIN, INT32_MAX); }
    bool flag() const {
        if (!value_.is_boolean()) fail("true or false");
        return value_.get<bool>();
    }
    std::string text() const {
        if (!value_.is_string()) fail("text");
        return value_.get<std::string>();
    }
    std::string hash() const {
        const std::string digits = value_.is_string() ? value_.get<std::string>() : "";
        if (!PictureHash::isText(digits)) fail("16 hexadecimal digits");
        return digits;
    }
    [[noreturn]] void fail(const std::string& expected) const {
        const std::string value = value_.dump(-1, ' ', true, Json::error_handler_t::replace);
        refuse(path_, name_ + " " + value.substr(0, 60) + ": expected " + expected);
    }

private:
    const std::string& path_;
    std::string name_;
    const Json& value_;
};

Operation operationFrom(const Field& field) {
    const std::string name = field.text();
    const auto* found = std::find_if(std::begin(kOperations), std::end(kOperations),
                                     [&](Operation operation) { return name == toString(operation); });
    if (found == std::end(kOperations)) field.fail("runInterpBicubic, runCSC, runGDCGrid or runGDCMatrix");
    return *found;
}

int32_t targetFrom(const Field& field) {
    for (int32_t target : {hardware::GDC_HW, hardware::GDC_C_MODEL}) {
        if (field.text() == targetName(target)) return target;
    }
    field.fail("GDC_HW or GDC_C_MODEL");
}

PixelFormat layoutFrom(const Field& field) {
    for (PixelFormat format : {PixelFormat::Nv12, PixelFormat::Gray}) {
        if (field.text() == toString(format)) return format;
    }
    field.fail("nv12 or gray");
}

RecordedPicture pictureFrom(const Field& field, PixelFormat format) {
    RecordedPicture picture;
    const std::vector<Field> size = field["size"].list(2);
    picture.size = {size[0].number(kMinSide, kMaxSide), size[1].number(kMinSide, kMaxSide)};
    if (format == PixelFormat::Nv12 && !picture.size.isEven()) field["size"].fail("even numbers, in nv12");
    const std::vector<Field> region = field["region"].list(4);
    picture.region.left = region[0].number(0, picture.size.width - 1);
    picture.region.top = region[1].number(0, picture.size.height - 1);
    picture.region.right = region[2].number(picture.region.left, picture.size.width - 1);
    picture.region.bottom = region[3].number(picture.region.top, picture.size.height - 1);
    return picture;
}

void readTable(const Field& field, int32_t* values) {
    for (const Field& row : field.list(kGridNodes)) {
        for (const Field& value : row.list(kGridNodes)) *values++ = value.anyNumber();
    }
}

Request requestFrom(const Field& header) {
    Request request{operationFrom(header["operation"])};
    if (isWarp(request.operation)) request.target = targetFrom(header["target"]);
    if (request.operation == Operation::GdcGrid) {
        readTable(header["grid"]["dX"], request.grid.dX);
        readTable(header["grid"]["dY"], request.grid.dY);
    }
    if (request.operation == Operation::GdcMatrix) {
        const std::vector<Field> matrix = header["matrix"].list(6);
        std::transform(matrix.begin(), matrix.end(), request.matrix.begin(), [](const Field& value) {
            return static_cast<int16_t>(value.number(INT16_MIN, INT16_MAX));
        });
    }
    return request;
}

/// The header's length and hash, as the first line gives them.
struct FirstLine {
    size_t headerLength = 0;
    std::string hash;
};

FirstLine readFirstLine(InputFile& file) {
    char line[kFirstLine + 1] = {};
    char hash[17] = {};
    int version = 0;
    FirstLine first;
    const bool isWhole = file.read(line, kFirstLine) == kFirstLine && line[kFirstLine - 1] == '\n';
    const int parts =
        std::sscanf(line, "vantor-record %4d %8zu %16[0-9a-f]", &version, &first.headerLength, hash);
    first.hash = hash;
    if (parts >= 1 && version != kVersion) {
        refuse(file.name(), "version " + std::to_string(version) + ": this vantor reads version " +
                                std::to_string(kVersion));
    }
    if (parts != 3 || !isWhole || !PictureHash::isText(first.hash)) {
        throw UserError(file.name() +
                        ": not a record: expected a first line 'vantor-record 1 LENGTH HASH' of " +
                        std::to_string(kFirstLine) + " bytes");
    }
    if (first.headerLength > kMaxHeaderBytes) {
        refuse(file.name(), "header of " + std::to_string(first.headerLength) + " bytes: expected at most " +
                                std::to_string(kMaxHeaderBytes));
    }
    return first;
}

Json readHeader(InputFile& file) {
    const FirstLine first = readFirstLine(file);
    std::string text(first.headerLength, ' ');
    const size_t count = file.read(text.data(), text.size());
    if (count != text.size()) {
        refuse(file.name(), "the header ends after " + std::to_string(count) + " of " +
                                std::to_string(text.size()) + " bytes: truncated");
    }
    const std::string hash = hashOf(reinterpret_cast<const uint8_t*>(text.data()), text.size());
    if (hash != first.hash) {
        refuse(file.name(),
               "the header is damaged: its hash is " + hash + ", the first line says " + first.hash);
    }
    bool isTooDeep = false;
    const auto isWanted = [&](int depth, Json::parse_event_t, const Json&) {
        isTooDeep |= depth > kDeepestHeader;
        return !isTooDeep;
    };
    Json header = Json::parse(text, isWanted, false);
    if (isTooDeep) {
        refuse(file.name(), "the header has a value inside more than " + std::to_string(kDeepestHeader) +
                                " objects and lists");
    }
    if (!header.is_object()) refuse(file.name(), "the header is not a JSON object");
    return header;
}

void readPlanes(InputFile& file, const std::string& name, PixelFormat format, RecordedPicture& picture) {
    picture.planes.resize(byteCount(format, picture.size));
    file.read(picture.planes.data(), picture.planes.size());
    const std::string hash = hashOf(picture.planes.data(), picture.planes.size());
    if (hash != picture.hash) {
        refuse(file.name(), "the planes of " + name + " are damaged: their hash is " + hash +
                                ", the header says " + picture.hash);
    }
}

}  // namespace

const char* toString(Operation operation) {
    switch (operation) {
        case Operation::InterpBicubic:
            return "runInterpBicubic";
        case Operation::Csc:
            return "runCSC";
        case Operation::GdcGrid:
            return "runGDCGrid";
        case Operation::GdcMatrix:
            break;
    }
    return "runGDCMatrix";
}

const char* targetName(int32_t target) {
    return target == hardware::GDC_HW ? "GDC_HW" : "GDC_C_MODEL";
}

RecordedPicture recordedPicture(const Planes& planes, const Region& region) {
    const size_t pixels = planes.size.pixels();
    RecordedPicture picture{planes.size, region, {}, {planes.luma, planes.luma + pixels}};
    if (planes.format == PixelFormat::Nv12) {
        picture.planes.insert(picture.planes.end(), planes.chroma, planes.chroma + pixels / 2);
    }
    picture.hash = hashOf(picture.planes.data(), picture.planes.size());
    return picture;
}

void writeRecord(const std::string& path, const Record& record) {
    const std::string header = textOf(headerOf(record));
    if (header.size() > kMaxHeaderBytes) {
        throw UserError(path + ": a header of " + std::to_string(header.size()) + " bytes: at most " +
                        std::to_string(kMaxHeaderBytes) + " fit; shorten the arguments");
    }
    const auto* bytes = reinterpret_cast<const uint8_t*>(header.data());
    char line[kFirstLine + 1];
    std::snprintf(line, sizeof line, "vantor-record %d %08zu %s\n", kVersion, header.size(),
                  hashOf(bytes, header.size()).c_str());
    OutputFile file(path);
    file.write(line, bytes, header.size());
    file.write(record.source.planes.data(), record.source.planes.size());
    file.write(record.result.planes.data(), record.result.planes.size());
    file.finish();
}

Record readRecord(const std::string& path) {
    const uintmax_t length = lengthOf(path);
    InputFile file(path);
    const Json json = readHeader(file);
    const Field header(path, "", json);
    Record record{requestFrom(header), layoutFrom(header["format"]), {}, {}, {}, header["made_by"].json()};
    record.source = pictureFrom(header["source"], record.format);
    record.source.hash = header["source"]["hash"].hash();
    record.result = pictureFrom(header["destination"], record.format);
    const Field result = header["result"];
    if (!result.isNull()) {
        record.requestResult =
            RequestResult{result["status"].anyNumber(), 0, result.has("hash"), result["error"].text()};
        if (result.has("hash")) record.result.hash = result["hash"].hash();
    }
    const bool hasSource = header["source"]["planes"].flag();
    const bool hasResult = result.has("hash") && result["planes"].flag();
    const uintmax_t expected = length - file.bytesLeft().value_or(0) +
                               (hasSource ? byteCount(record.format, record.source.size) : 0) +
                               (hasResult ? byteCount(record.format, record.result.size) : 0);
    if (length != expected) {
        refuse(path, "the file has " + std::to_string(length) + " bytes, what its header says makes " +
                         std::to_string(expected) + (length < expected ? ": truncated" : ""));
    }
    if (hasSource) readPlanes(file, "the source", record.format, record.source);
    if (hasResult) readPlanes(file, "the result", record.format, record.result);
    return record;
}

}  // namespace vantor::tool
