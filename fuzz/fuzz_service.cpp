// The software service's checks: geometries of any numbers, handles of any descriptors, buffers of wrong sizes, of one
// file for both pictures, and of files that shrink once their size was looked at. A request is done to the byte as the
// library does it, or refused with nothing written; no descriptor stays. A destination that shrinks may be written in
// part, but never beyond its first size.
#include <cutils/native_handle.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <string>

#include "fuzz/policy.h"
#include "hardware/vantorClient/vantor_client.h"
#include "service/software_service.h"

namespace vantor::fuzz {
namespace {

using Geometry = SoftwareService::Geometry;
using hardware::vantorClient;

/// What shrinks as soon as its size was looked at.
struct {
    int descriptor = -1;
    off_t size = 0;
} shrinking;

/// The lowest free descriptor: the same before and after a request, unless one was kept.
int freeDescriptor() {
    const int descriptor = dup(STDERR_FILENO);
    close(descriptor);
    return descriptor;
}

/// A shared buffer of some bytes, which can be read here whatever the service may do with it.
class Shared {
public:
    enum class Kind { ReadOnly, Appending, Sealed, Ordinary };

    Shared(const Bytes& bytes, Kind kind)
        : bytes_(bytes), descriptor_(memfd_create("fuzz", MFD_CLOEXEC | MFD_ALLOW_SEALING)) {
        FUZZ_EXPECT(write(descriptor_, bytes.data(), bytes.size()) == static_cast<ssize_t>(bytes.size()));
        if (kind == Kind::Sealed) FUZZ_EXPECT(fcntl(descriptor_, F_ADD_SEALS, F_SEAL_WRITE) == 0);
        if (kind == Kind::Appending) FUZZ_EXPECT(fcntl(descriptor_, F_SETFL, O_APPEND) == 0);
        if (kind != Kind::ReadOnly) return;
        const int writable = descriptor_;
        descriptor_ = open(("/proc/self/fd/" + std::to_string(writable)).c_str(), O_RDONLY | O_CLOEXEC);
        close(writable);
    }
    ~Shared() { close(descriptor_); }
    Shared(const Shared&) = delete;
    Shared& operator=(const Shared&) = delete;

    int descriptor() const { return descriptor_; }
    const Bytes& before() const { return bytes_; }
    Bytes now() const {
        Bytes bytes(bytes_.size() + 1);  // so that one too many would show
        bytes.resize(static_cast<size_t>(pread(descriptor_, bytes.data(), bytes.size(), 0)));
        return bytes;
    }

private:
    Bytes bytes_;
    int descriptor_;
};

/// One picture of a request, sound or not.
class Side {
public:
    explicit Side(Input& input) : geometry{sizeOf(input), sizeOf(input), 0, 0, 0, 0} {
        geometry.cropRight = static_cast<int32_t>(int64_t{geometry.width} - 1);
        geometry.cropBottom = static_cast<int32_t>(int64_t{geometry.height} - 1);
        if (input.ConsumeBool()) {
            for (int32_t* edge : {&geometry.cropLeft, &geometry.cropTop, &geometry.cropRight, &geometry.cropBottom}) {
                const int kind = input.between(0, 7);
                if (kind == 0) *edge = input.any();
                if (kind > 4) *edge = (*edge & 1) + 2 * input.between(0, kMaxSide / 2);
            }
        }
        const int64_t luma = int64_t{geometry.width} * geometry.height;
        const bool isPair = input.ConsumeBool();
        addBuffer(input, isPair ? luma : luma + luma / 2);
        if (isPair) addBuffer(input, luma / 2);
        std::vector<int> descriptors;
        for (const auto& buffer : buffers) descriptors.push_back(buffer->descriptor());
        if (input.between(0, 7) == 0) spoil(input, descriptors);
        handle_ = native_handle_create(static_cast<int>(descriptors.size()), 0);
        std::copy(descriptors.begin(), descriptors.end(), handle_->data);
        if (input.between(0, 31) == 0) handle_->numFds = std::min(input.any(), 0);
        if (input.between(0, 31) != 0) handle = handle_;
    }
    ~Side() { native_handle_delete(handle_); }
    Side(const Side&) = delete;
    Side& operator=(const Side&) = delete;

    /// Another picture's buffers in place of its own, in as many descriptors.
    void takeBuffersOf(const Side& other) {
        buffers = other.buffers;
        for (int i = 0; i < handle_->numFds; ++i) {
            handle_->data[i] = buffers[std::min(static_cast<size_t>(i), buffers.size() - 1)]->descriptor();
        }
        isSpoilt |= handle_->numFds != static_cast<int>(buffers.size());
    }

    /// The picture's bytes, before and now. Only of sound ones.
    Bytes before() const {
        return picture([](const Shared& buffer) { return buffer.before(); });
    }
    Bytes now() const {
        return picture([](const Shared& buffer) { return buffer.now(); });
    }
    bool isNotLonger() const {
        return std::all_of(buffers.begin(), buffers.end(),
                           [](const auto& buffer) { return buffer->now().size() <= buffer->before().size(); });
    }
    bool isUntouched() const {
        return std::all_of(buffers.begin(), buffers.end(),
                           [](const auto& buffer) { return buffer->now() == buffer->before(); });
    }
    int regionWidth() const { return geometry.cropRight - geometry.cropLeft + 1; }
    int regionHeight() const { return geometry.cropBottom - geometry.cropTop + 1; }

    /// Where a byte of the region's picture lies in the whole one.
    size_t placeOf(int x, int row) const {
        const bool isLuma = row < regionHeight();
        const int y = isLuma ? geometry.cropTop + row : geometry.height + geometry.cropTop / 2 + row - regionHeight();
        return static_cast<size_t>(y * geometry.width + geometry.cropLeft + x);
    }

    Geometry geometry;
    std::vector<std::shared_ptr<Shared>> buffers;
    ::android::hardware::hidl_handle handle;
    bool isSpoilt = false;

private:
    static int32_t sizeOf(Input& input) {
        return input.between(0, 15) == 0 ? input.any() : 2 * input.between(2, kMaxSide / 4);
    }

    /// One of the length that is needed, or near to it.
    void addBuffer(Input& input, int64_t needed) {
        const int change = input.between(0, 7) == 0 ? input.between(-64, 64) : 0;
        const auto length = std::clamp<int64_t>(needed + change, 0, kMaxBufferBytes);
        const int kind = std::min(input.between(0, 15), static_cast<int>(Shared::Kind::Ordinary));
        buffers.push_back(
            std::make_shared<Shared>(input.content(static_cast<size_t>(length)), static_cast<Shared::Kind>(kind)));
    }

    /// Puts in other descriptors, or more of them, or takes some away.
    void spoil(Input& input, std::vector<int>& descriptors) {
        static const int kDevice = open("/dev/null", O_RDWR | O_CLOEXEC);
        static const int kDirectory = open("/", O_RDONLY | O_CLOEXEC);
        isSpoilt = true;
        descriptors.resize(static_cast<size_t>(input.between(0, 3)), descriptors[0]);
        for (int& descriptor : descriptors) {
            const int kind = input.between(0, 7);
            if (kind == 0) descriptor = input.any() | 1 << 20;  // none that is open
            if (kind == 1) descriptor = kDevice;
            if (kind == 2) descriptor = kDirectory;
        }
    }

    template <typename BytesOf>
    Bytes picture(const BytesOf& bytesOf) const {
        const auto luma = static_cast<size_t>(geometry.width) * static_cast<size_t>(geometry.height);
        Bytes whole = bytesOf(*buffers[0]);
        whole.resize(buffers.size() == 2 ? luma : luma * 3 / 2);
        if (buffers.size() == 2) {
            const Bytes chroma = bytesOf(*buffers[1]);
            whole.insert(whole.end(), chroma.begin(), chroma.begin() + static_cast<ptrdiff_t>(luma / 2));
        }
        return whole;
    }

    native_handle_t* handle_;
};

vantorClient::BufferData describe(Bytes& bytes, int width, int height) {
    bytes.resize(static_cast<size_t>(width * height * 3 / 2));
    return {bytes.data(), nullptr, -1, -1, width, height, 0, 0, width - 1, height - 1};
}

/// What a scaling request leaves in the destination.
Bytes scaled(const Side& dst, const Side& src) {
    Bytes from, to;
    const auto toData = describe(to, dst.regionWidth(), dst.regionHeight());
    const auto fromData = describe(from, src.regionWidth(), src.regionHeight());
    const Bytes whole = src.before();
    for (size_t i = 0; i < from.size(); ++i) {
        const auto k = static_cast<int>(i);
        from[i] = whole[src.placeOf(k % src.regionWidth(), k / src.regionWidth())];
    }
    FUZZ_EXPECT(vantorClient::runInterpBicubic(toData, fromData, hardware::IMAGE_FORMAT_NV12) == 0);
    Bytes result = dst.before();
    for (size_t i = 0; i < to.size(); ++i) {
        const auto k = static_cast<int>(i);
        result[dst.placeOf(k % dst.regionWidth(), k / dst.regionWidth())] = to[i];
    }
    return result;
}

void request(Input& input) {
    static const ::android::sp<SoftwareService> service = new SoftwareService;
    const bool isWarp = input.ConsumeBool();
    Side src(input), dst(input);
    if (isWarp && input.between(0, 7) != 0) {
        dst.geometry.width = src.geometry.width;
        dst.geometry.height = src.geometry.height;
    }
    static SoftwareService::GdcGrid grid;
    if (isWarp) {
        const Bytes nodes = input.content(sizeof grid);
        std::memcpy(static_cast<void*>(&grid), nodes.data(), sizeof grid);
    }
    const int kind = input.between(0, 15);
    const bool isOneFile = kind == 1, isSrcShrinking = kind == 2, isDstShrinking = kind == 3;
    if (isOneFile) dst.takeBuffersOf(src);
    const int descriptor = freeDescriptor();
    if (isSrcShrinking || isDstShrinking) {
        const Shared& buffer = *(isSrcShrinking ? src : dst).buffers[0];
        shrinking = {buffer.descriptor(), input.between(0, static_cast<int>(buffer.before().size()))};
    }
    const int32_t status = isWarp ? service->runGDC(dst.geometry, dst.handle, src.geometry, src.handle, grid, nullptr)
                                  : service->runCSC(dst.geometry, dst.handle, src.geometry, src.handle, nullptr);
    shrinking.descriptor = -1;
    FUZZ_EXPECT(freeDescriptor() == descriptor);
    FUZZ_EXPECT(isOneFile || isSrcShrinking || src.isUntouched());
    FUZZ_EXPECT(src.isNotLonger() && dst.isNotLonger());
    if (status != 0) FUZZ_EXPECT(isDstShrinking || dst.isUntouched());
    if (status == 0 && !isWarp && !src.isSpoilt && !dst.isSpoilt && !isDstShrinking) {
        const Bytes now = dst.now(), expected = scaled(dst, src);
        FUZZ_EXPECT(now.size() == expected.size());
        expectSame(now.data(), expected.data(), now.size());
    }
}

}  // namespace
}  // namespace vantor::fuzz

extern "C" int fstat(int descriptor, struct stat* file) noexcept {
    static const auto call = reinterpret_cast<int (*)(int, struct stat*)>(dlsym(RTLD_NEXT, "fstat"));
    const int result = call(descriptor, file);
    const auto& [shrinking, size] = vantor::fuzz::shrinking;
    if (descriptor == shrinking) static_cast<void>(ftruncate(descriptor, size));  // in vain for a read-only one
    return result;
}

extern "C" int LLVMFuzzerInitialize(int*, char***) { return setenv("VANTOR_LOG", "off", 1); }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    vantor::fuzz::Input input(data, size);
    vantor::fuzz::request(input);
    return 0;
}
