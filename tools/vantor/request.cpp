#include "tools/vantor/request.h"

#include <algorithm>
#include <chrono>

#include "hardware/vantorClient/warp_limits.h"
#include "service/software_service.h"
#include "tools/vantor/io/error.h"
#include "tools/vantor/log_watch.h"

namespace vantor::tool {
namespace {

using BufferData = hardware::vantorClient::BufferData;

/// The whole picture is its region.
BufferData describeBuffer(const WorkingPicture& picture) {
    const auto& [planes, descriptor] = picture;
    BufferData data;
    data.y = planes.luma;
    data.uv = descriptor < 0 ? planes.chroma : nullptr;
    data.fdY = descriptor;
    data.width = planes.size.width;
    data.height = planes.size.height;
    data.cropRight = planes.size.width - 1;
    data.cropBottom = planes.size.height - 1;
    return data;
}

int32_t formatOf(const WorkingPicture& picture) {
    return picture.planes.layout == Layout::Gray ? hardware::IMAGE_FORMAT_GRAYSCALE
                                                 : hardware::IMAGE_FORMAT_NV12;
}

template <typename Call>
double timed(Call&& call) {
    const auto start = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
}

RequestResult runOnProcessor(const WorkingPicture& dst, const WorkingPicture& src, const Request& request) {
    int32_t status = 0;
    clearErrorLines();
    const double milliseconds =
        timed([&] { status = request(describeBuffer(dst), describeBuffer(src), formatOf(src)); });
    if (status != 0) throw UserError("the library refused: " + firstErrorLine());
    return {milliseconds, {}};
}

/// Once in a process.
void connectToService() {
    static bool isConnected = false;
    if (isConnected) return;
    startSoftwareService();
    if (hardware::vantorClient::init() != 0) throw UserError("no hardware service: " + firstErrorLine());
    isConnected = true;
}

RequestResult runOnHardware(const WorkingPicture& dst, const WorkingPicture& src, const Request& request) {
    clearErrorLines();
    connectToService();
    RequestResult result{};
    int32_t status = 0;
    result.milliseconds =
        timed([&] { status = request(describeBuffer(dst), describeBuffer(src), formatOf(src)); });
    if (status != 0) {
        if (!hasErrorLine("Error occurs") || hasErrorLine("runInterpBicubic() failed")) {
            throw UserError("the hardware path refused: " + firstErrorLine());
        }
        result.fallback = firstErrorLine();
    }
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

WorkingMemory::WorkingMemory(Layout layout, Size size, Path path) : layout_(layout), size_(size) {
    const size_t length = byteCount(Layout::Nv12, size);
    if (path == Path::Hardware) {
        shared_.emplace(length);
    } else {
        own_.resize(length);
    }
}

WorkingPicture WorkingMemory::picture() {
    WorkingPicture picture{planesIn(packedShape(Layout::Nv12, size_), bytes()),
                           shared_ ? shared_->descriptor() : -1};
    picture.planes.layout = layout_;
    return picture;
}

RequestResult runRequest(const WorkingPicture& dst, const WorkingPicture& src, Path path,
                         const Request& request) {
    return path == Path::Hardware ? runOnHardware(dst, src, request) : runOnProcessor(dst, src, request);
}

RequestResult runRequest(Picture& dst, const Picture& src, Path path, const Request& request) {
    WorkingMemory from(src.layout, src.size, path);
    WorkingMemory to(dst.layout, dst.size, path);
    std::copy(src.bytes.begin(), src.bytes.end(), from.bytes());
    const RequestResult result = runRequest(to.picture(), from.picture(), path, request);
    std::copy_n(to.bytes(), dst.bytes.size(), dst.bytes.begin());
    return result;
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

void noteFrame(const std::string& what, Size picture, Size frame) {
    if (picture == frame) return;
    note(what + ": " + toString(picture) + " picture: warped as " + toString(frame) +
         ", its last column and row repeated, and cropped back");
}

Picture onFrame(const std::string& what, Picture picture, Size frame, Layout working) {
    noteFrame(what, picture.size, frame);
    Picture framed = makePicture(working, frame);
    toWorking(planesOf(picture), planesOf(framed), {});
    return framed;
}

}  // namespace vantor::tool
