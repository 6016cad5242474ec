#include "tools/vantor/request.h"

#include "tools/vantor/io/error.h"

namespace vantor::tool {

Layout workingLayout(Layout read, Layout written) {
    return read == Layout::Gray || written == Layout::Gray ? Layout::Gray : Layout::Nv12;
}

int32_t formatOf(const Picture& picture) {
    return picture.layout == Layout::Gray ? hardware::IMAGE_FORMAT_GRAYSCALE : hardware::IMAGE_FORMAT_NV12;
}

hardware::vantorClient::BufferData buffer(Picture& picture) {
    picture.bytes.resize(byteCount(Layout::Nv12, picture.size), 128);
    hardware::vantorClient::BufferData data;
    data.y = picture.bytes.data();
    data.width = picture.size.width;
    data.height = picture.size.height;
    data.cropRight = picture.size.width - 1;
    data.cropBottom = picture.size.height - 1;
    return data;
}

double runRequest(Picture& dst, Picture& src, const Request& request) {
    const auto from = buffer(src);
    const auto to = buffer(dst);
    const auto start = std::chrono::steady_clock::now();
    const int status = request(to, from, formatOf(src));
    const std::chrono::duration<double, std::milli> elapsed = std::chrono::steady_clock::now() - start;
    if (status != 0) throw UserError("the library failed with status " + std::to_string(status));
    src.bytes.resize(byteCount(src.layout, src.size));
    dst.bytes.resize(byteCount(dst.layout, dst.size));
    return elapsed.count();
}

Size warpFrame(const std::string& what, Size picture) {
    if (picture.width < 96 || picture.height < 64 || picture.width > 8192 || picture.height > 6144) {
        throw UserError(what + ": " + toString(picture) + " picture: warps take 96x64 to 8192x6144");
    }
    return picture.roundedUp(16, 2);
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
