#include "tools/vantor/library/request.h"

#include <algorithm>

#include "hardware/vantorClient/warp_limits.h"
#include "tools/vantor/base/error.h"
#include "tools/vantor/base/terminal.h"
#include "tools/vantor/library/hardware_service.h"
#include "tools/vantor/library/log_watch.h"
#include "tools/vantor/library/timed.h"

namespace vantor::tool {
namespace {

using BufferData = hardware::vantorClient::BufferData;

BufferData describeBuffer(const WorkingPicture& picture) {
    const auto& [planes, region, descriptor] = picture;
    BufferData data;
    data.y = planes.luma;
    data.uv = descriptor < 0 ? planes.chroma : nullptr;
    data.fdY = descriptor;
    data.width = planes.size.width;
    data.height = planes.size.height;
    data.cropLeft = region.left;
    data.cropTop = region.top;
    data.cropRight = region.right;
    data.cropBottom = region.bottom;
    return data;
}

int32_t formatOf(const WorkingPicture& picture) {
    return picture.planes.format == PixelFormat::Gray ? hardware::IMAGE_FORMAT_GRAYSCALE
                                                      : hardware::IMAGE_FORMAT_NV12;
}

/// Whether the library fell back to the CPU, which in place of a warp copies.
bool hasFallenBack(const Request& request) {
    return request.operation == Request::Operation::Csc && hasErrorLine("Error occurs") &&
           !hasErrorLine("runInterpBicubic() failed");
}

}  // namespace

PixelFormat workingFormat(PixelFormat read, PixelFormat written) {
    return read == PixelFormat::Gray || written == PixelFormat::Gray ? PixelFormat::Gray : PixelFormat::Nv12;
}

WorkingMemory::WorkingMemory(PixelFormat format, Size size, Backend backend) : layout_(format), size_(size) {
    const size_t length = byteCount(PixelFormat::Nv12, size);
    if (backend == Backend::Hardware) {
        shared_.emplace(length);
    } else {
        own_.emplace(length);
    }
}

WorkingPicture WorkingMemory::picture() const {
    WorkingPicture picture{planesIn(packedShape(PixelFormat::Nv12, size_), bytes()), fullRegion(size_),
                           shared_ ? shared_->descriptor() : -1};
    picture.planes.format = layout_;
    return picture;
}

static hardware::vantorClient::_GDCGrid clientGrid(const Grid& grid) {
    hardware::vantorClient::_GDCGrid record;
    std::copy(std::begin(grid.dX), std::end(grid.dX), record.dX);
    std::copy(std::begin(grid.dY), std::end(grid.dY), record.dY);
    return record;
}

Backend Request::backend() const {
    const bool isHardware = isWarp() ? target == hardware::GDC_HW : operation == Operation::Csc;
    return isHardware ? Backend::Hardware : Backend::Software;
}

int32_t Request::operator()(const BufferData& dst, const BufferData& src, int32_t format) const {
    switch (operation) {
        case Operation::InterpBicubic:
            return hardware::vantorClient::runInterpBicubic(dst, src, format);
        case Operation::Csc:
            return hardware::vantorClient::runCSC(dst, src, format);
        case Operation::GdcGrid:
            return hardware::vantorClient::runGDCGrid(dst, src, clientGrid(grid), format, target);
        case Operation::GdcMatrix:
            break;
    }
    return hardware::vantorClient::runGDCMatrix(dst, src, matrix.data(), format, target);
}

Request scalingRequest(Backend backend) {
    return {backend == Backend::Hardware ? Request::Operation::Csc : Request::Operation::InterpBicubic};
}

static int32_t targetOf(Backend backend) {
    return backend == Backend::Hardware ? hardware::GDC_HW : hardware::GDC_C_MODEL;
}

Request warpingRequest(Backend backend, const Grid& grid) {
    return {Request::Operation::GdcGrid, targetOf(backend), grid};
}

Request warpingRequest(Backend backend, const std::array<int16_t, 6>& matrix) {
    return {Request::Operation::GdcMatrix, targetOf(backend), {}, matrix};
}

RequestResult ask(const Request& request, const WorkingPicture& dst, const WorkingPicture& src) {
    clearErrorLines();
    if (request.backend() == Backend::Hardware) connectToService();
    RequestResult result{};
    result.milliseconds =
        timed([&] { result.status = request(describeBuffer(dst), describeBuffer(src), formatOf(src)); });
    result.error = firstErrorLine();
    result.isMade = result.status == 0 || hasFallenBack(request);
    return result;
}

RequestResult runRequest(const WorkingPicture& dst, const WorkingPicture& src, const Request& request,
                         const RequestWatch& watch) {
    if (watch) watch(request, dst, src, nullptr);
    const RequestResult result = ask(request, dst, src);
    if (watch) watch(request, dst, src, &result);
    if (!result.isMade) {
        const char* who = request.backend() == Backend::Hardware ? "the hardware backend" : "the library";
        throw UserError(std::string(who) + " refused: " + result.error);
    }
    return result;
}

RequestResult runRequest(Picture& dst, const Picture& src, const Request& request) {
    WorkingMemory from(src.format, src.size, request.backend());
    WorkingMemory to(dst.format, dst.size, request.backend());
    std::copy(src.bytes.begin(), src.bytes.end(), from.bytes());
    const RequestResult result = runRequest(to.picture(), from.picture(), request);
    std::copy_n(to.bytes(), dst.bytes.size(), dst.bytes.begin());
    return result;
}

std::string describe(Backend backend, const std::string& software, const std::string& fallback) {
    if (backend == Backend::Software) return "in " + software;
    if (fallback.empty()) return "on the hardware backend (" + serviceName() + ")";
    return "by the hardware backend's fallback (" + fallback + ")";
}

Size deviceSize(Size picture) {
    return picture.roundedUp(hardware::kWarpWidthAlignment, hardware::kWarpHeightAlignment);
}

Size warpFrame(const std::string& what, Size picture) {
    constexpr Size kMinSize{hardware::kMinWarpWidth, hardware::kMinWarpHeight};
    constexpr Size kMaxSize{hardware::kMaxWarpWidth, hardware::kMaxWarpHeight};
    if (picture.width < kMinSize.width || picture.height < kMinSize.height ||
        picture.width > kMaxSize.width || picture.height > kMaxSize.height) {
        throw UserError(what + ": " + toString(picture) + " picture: warps take " + toString(kMinSize) +
                        " to " + toString(kMaxSize));
    }
    return deviceSize(picture);
}

void noteFrame(const std::string& what, Size picture, Size frame) {
    if (picture == frame) return;
    note(what + ": " + toString(picture) + " picture: warped as " + toString(frame) +
         ", its last column and row repeated, and cropped back");
}

Picture onFrame(const std::string& what, Picture picture, Size frame, PixelFormat working) {
    noteFrame(what, picture.size, frame);
    Picture framed = makePicture(working, frame);
    toWorking(planesOf(picture), planesOf(framed), {});
    return framed;
}

}  // namespace vantor::tool
