#include "tools/vantor/request.h"

#include <algorithm>
#include <chrono>

#include "hardware/vantorClient/warp_limits.h"
#include "service/software_service.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/log_watch.h"
#include "tools/vantor/shared_buffer.h"

namespace vantor::tool {
namespace {

using BufferData = hardware::vantorClient::BufferData;

/// One block with chroma behind the luma, and the whole picture as its region.
BufferData describeBuffer(uint8_t* bytes, Size size) {
    BufferData data;
    data.y = bytes;
    data.width = size.width;
    data.height = size.height;
    data.cropRight = size.width - 1;
    data.cropBottom = size.height - 1;
    return data;
}

/// A gray picture gets room for chroma as well, which the library's reduction wants.
std::vector<uint8_t> block(const Picture& picture) {
    std::vector<uint8_t> bytes = picture.bytes;
    bytes.resize(byteCount(Layout::Nv12, picture.size), 128);
    return bytes;
}

int32_t formatOf(const Picture& picture) {
    return picture.layout == Layout::Gray ? hardware::IMAGE_FORMAT_GRAYSCALE : hardware::IMAGE_FORMAT_NV12;
}

template <typename Call>
double timed(Call&& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

RequestResult runOnProcessor(Picture& dst, const Picture& src, const Request& request) {
    std::vector<uint8_t> from = block(src);
    std::vector<uint8_t> to = block(dst);
    int32_t status = 0;
    clearErrorLines();
    const double milliseconds = timed([&] {
        status = request(describeBuffer(to.data(), dst.size), describeBuffer(from.data(), src.size),
                         formatOf(src));
    });
    if (status != 0) throw UserError("the library refused: " + firstErrorLine());
    std::copy_n(to.begin(), dst.bytes.size(), dst.bytes.begin());
    return {milliseconds, {}};
}

RequestResult runOnHardware(Picture& dst, const Picture& src, const Request& request) {
    clearErrorLines();
    startSoftwareService();
    if (hardware::vantorClient::init() != 0) throw UserError("no hardware service: " + firstErrorLine());
    const std::vector<uint8_t> content = block(src);
    SharedBuffer from(content.size());
    SharedBuffer to(byteCount(Layout::Nv12, dst.size));
    std::copy(content.begin(), content.end(), from.bytes());
    BufferData fromData = describeBuffer(from.bytes(), src.size);
    BufferData toData = describeBuffer(to.bytes(), dst.size);
    fromData.fdY = from.descriptor();
    toData.fdY = to.descriptor();

    RequestResult result{};
    int32_t status = 0;
    result.milliseconds = timed([&] { status = request(toData, fromData, formatOf(src)); });
    if (status != 0) {
        if (!hasErrorLine("Error occurs") || hasErrorLine("runInterpBicubic() failed")) {
            throw UserError("the hardware path refused: " + firstErrorLine());
        }
        result.fallback = firstErrorLine();
    }
    std::copy_n(to.bytes(), dst.bytes.size(), dst.bytes.begin());
    return result;
}

}  // namespace

Layout workingLayout(Layout read, Layout written) {
    return read == Layout::Gray || written == Layout::Gray ? Layout::Gray : Layout::Nv12;
}

Path parsePath(const std::string& text, const std::string& processor) {
    if (text == processor) return Path::Processor;
    if (text == "hw") return Path::Hardware;
    throw UserError("--path " + text + ": expected hw or " + processor);
}

RequestResult runRequest(Picture& dst, const Picture& src, Path path, const Request& request) {
    return path == Path::Hardware ? runOnHardware(dst, src, request) : runOnProcessor(dst, src, request);
}

std::string describe(Path path, const std::string& processor, const RequestResult& result) {
    if (path == Path::Processor) return "in " + processor;
    if (result.fallback.empty()) return "on the hardware path (software service)";
    return "by the hardware path's fallback (" + result.fallback + ")";
}

Size warpFrame(const std::string& what, Size picture) {
    constexpr Size kSmallest{hardware::kSmallestWarpWidth, hardware::kSmallestWarpHeight};
    constexpr Size kLargest{hardware::kLargestWarpWidth, hardware::kLargestWarpHeight};
    if (picture.width < kSmallest.width || picture.height < kSmallest.height ||
        picture.width > kLargest.width || picture.height > kLargest.height) {
        throw UserError(what + ": " + toString(picture) + " picture: warps take " + toString(kSmallest) +
                        " to " + toString(kLargest));
    }
    return picture.roundedUp(hardware::kWarpWidthAlignment, hardware::kWarpHeightAlignment);
}

Picture onFrame(const std::string& what, Picture picture, Size frame) {
    if (picture.size == frame) return picture;
    note(what + ": " + toString(picture.size) + " picture: warped as " + toString(frame) +
         ", its last column and row repeated, and cropped back");
    return onCanvas(picture, frame);
}

const char* describeRgb(Layout read, Layout written) {
    return read == Layout::Rgb || written == Layout::Rgb ? "; RGB by BT.601, limited range" : "";
}

}  // namespace vantor::tool
