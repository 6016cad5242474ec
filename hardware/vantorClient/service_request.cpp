#include "hardware/vantorClient/service_request.h"

#include <cutils/native_handle.h>
#include <ion/ion.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>

#include "hardware/vantorClient/status.h"

namespace hardware {
namespace {

using ::android::hardware::hidl_handle;
using BufferData = vantorClient::BufferData;

constexpr int32_t kNone = -1;
constexpr size_t kIonAlignment = 0x1000;
constexpr unsigned kIonHeapMask = 1;  // the system heap
constexpr unsigned kIonFlags = 3;     // cached, and synchronised on demand

const char* modeLabel(int32_t fd) {
    return fd > kNone ? "IMPORT" : "ALLOC";
}

/// One picture of a request: its buffers from their selection to their release.
class Side {
public:
    enum class Selection { Done, Refused, NoBuffer };

    Side(const char* function, const SideLines& lines, const BufferData& image, SideRecord& words,
         int32_t format)
        : function_(function),
          lines_(lines),
          image_(image),
          words_(words),
          isGray_(format == IMAGE_FORMAT_GRAYSCALE),
          luma_(static_cast<size_t>(image.width) * static_cast<size_t>(image.height)),
          chroma_(luma_ >> 1) {
        words_.y = words_.uv = reinterpret_cast<uint8_t*>(-1);
    }

    size_t luma() const { return luma_; }
    size_t chroma() const { return chroma_; }
    size_t total() const { return luma_ + chroma_; }
    const SideRecord& words() const { return words_; }

    /// Takes the caller's descriptors, or allocates and maps what is missing.
    Selection select() {
        if (isGray_) return selectGray();
        const bool hasLuma = image_.fdY >= 0;
        const bool hasChroma = image_.fdUV >= 0;
        if (hasLuma && (hasChroma || image_.fdUV == kNone)) {
            words_ = {image_.y, hasChroma ? image_.uv : nullptr, image_.fdY, image_.fdUV};
            mode_ = hasChroma ? Mode::ImportedPlanes : Mode::ImportedBlock;
            return Selection::Done;
        }
        if (image_.fdY == kNone && image_.fdUV == kNone) return allocateBlock();
        VANTOR_LOG_ERROR(function_, lines_.descriptors, "fdY(%d) must be followed by fdUV(%d)", image_.fdY,
                         image_.fdUV);
        return Selection::Refused;
    }

    bool isAllocated() const { return mode_ == Mode::Allocated; }

    /// Zeroes the chroma buffer that accompanies an imported gray picture.
    void clearAddedChroma() const {
        if (mode_ == Mode::ImportedGray) std::memset(words_.uv, 0, chroma_);
    }

    bool createHandle() {
        const bool hasTwo = mode_ == Mode::ImportedPlanes || mode_ == Mode::ImportedGray;
        const int count = hasTwo ? 2 : 1;
        handle_ = native_handle_create(count, 0);
        if (handle_ == nullptr) {
            VANTOR_LOG_ERROR(function_, lines_.handle, "native_handle_create() failed");
            if (words_.fdY != kNone) close(words_.fdY);
            if (words_.fdUV != kNone) close(words_.fdUV);
            if (unmap(0) != 0) logUnmapping();
            return false;
        }
        handle_->numFds = count;
        handle_->data[0] = words_.fdY;
        if (hasTwo) handle_->data[1] = words_.fdUV;
        return true;
    }

    const native_handle_t* handle() const { return handle_; }

    /// Unmaps what was mapped and deletes the handle, unless the status, which goes through both, says
    /// failure.
    int release(int status) const {
        status = unmap(status);
        if (status == 0) return native_handle_delete(handle_);
        logUnmapping();
        return status;
    }

private:
    enum class Mode {
        ImportedPlanes,  ///< two descriptors of the caller's
        ImportedBlock,   ///< one descriptor of the caller's, luma and chroma
        ImportedGray,    ///< one descriptor of the caller's, and an allocated chroma buffer
        Allocated,       ///< one allocated buffer, luma and chroma
    };

    Selection selectGray() {
        if (image_.fdUV >= 0) {
            VANTOR_LOG_ERROR(function_, lines_.grayDescriptor,
                             "fdUV(%d) must not be provided for Grayscale format", image_.fdUV);
            return Selection::Refused;
        }
        if (image_.fdY < 0) return allocateBlock();
        mode_ = Mode::ImportedGray;
        words_.fdY = image_.fdY;
        words_.y = image_.y;
        return allocate(chroma_, words_.fdUV, words_.uv) ? Selection::Done : Selection::NoBuffer;
    }

    Selection allocateBlock() {
        mode_ = Mode::Allocated;
        if (!allocate(total(), words_.fdY, words_.y)) return Selection::NoBuffer;
        words_.fdUV = kNone;
        words_.uv = nullptr;
        return Selection::Done;
    }

    /// A failed mapping is used as it is.
    bool allocate(size_t bytes, int32_t& fd, uint8_t*& address) const {
        int buffer = kNone;
        if (ion_alloc_fd(ionDevice, bytes, kIonAlignment, kIonHeapMask, kIonFlags, &buffer) != 0) {
            VANTOR_LOG_ERROR(function_, lines_.allocation, "ion_alloc_fd(%d) failed", ionDevice);
            return false;
        }
        address = static_cast<uint8_t*>(mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_SHARED, buffer, 0));
        fd = buffer;
        return true;
    }

    /// The result of unmapping, or `status` where nothing was mapped.
    int unmap(int status) const {
        if (mode_ == Mode::Allocated) return munmap(words_.y, total());
        if (mode_ == Mode::ImportedGray) return munmap(words_.uv, chroma_);
        return status;
    }

    void logUnmapping() const { VANTOR_LOG_ERROR(function_, lines_.unmapping, "munmap() failed"); }

    const char* function_;
    const SideLines& lines_;
    const BufferData& image_;
    SideRecord& words_;
    bool isGray_;
    size_t luma_;
    size_t chroma_;
    Mode mode_ = Mode::ImportedBlock;
    native_handle_t* handle_ = nullptr;
};

/// Brings a source to its allocated buffer. The luma's length and the
/// chroma's offset come from the destination's size, a known hazard for pictures of different sizes that is
/// kept.
void copyIn(const Side& src, const Side& dst, const BufferData& image, int32_t format) {
    src.clearAddedChroma();
    if (!src.isAllocated() || image.y == nullptr) return;
    uint8_t* const buffer = src.words().y;
    if (format == IMAGE_FORMAT_GRAYSCALE) {
        std::memcpy(buffer, image.y, dst.luma());
        std::memset(buffer + dst.luma(), 0, src.chroma());
    } else if (image.uv == nullptr) {
        std::memcpy(buffer, image.y, src.total());
    } else {
        std::memcpy(buffer, image.y, dst.luma());
        std::memcpy(buffer + dst.luma(), image.uv, src.chroma());
    }
}

void copyOut(const Side& dst, const BufferData& image, int32_t format) {
    if (!dst.isAllocated() || image.y == nullptr) return;
    const uint8_t* const buffer = dst.words().y;
    const bool isBlock = format != IMAGE_FORMAT_GRAYSCALE && image.uv == nullptr;
    std::memcpy(image.y, buffer, isBlock ? dst.total() : dst.luma());
    if (format != IMAGE_FORMAT_GRAYSCALE && !isBlock)
        std::memcpy(image.uv, buffer + dst.luma(), dst.chroma());
}

double microseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1000000 + static_cast<double>(time.tv_usec);
}

int32_t timedCall(const ServiceRequest& request, const hidl_handle& dst, const hidl_handle& src) {
    timeval start{};
    timeval end{};
    int32_t status = 0;
    gettimeofday(&start, nullptr);
    {
        const auto result = request.call(dst, src);
        result.assertOk();
        status = result;
    }
    gettimeofday(&end, nullptr);
    request.logElapsed((microseconds(end) - microseconds(start)) * 0.001);
    return status;
}

}  // namespace

ServiceOutcome runOnService(const ServiceRequest& request, const BufferData& dst, const BufferData& src,
                            int32_t format) {
    Side from(request.function, request.srcLines, src, request.record.src, format);
    Side to(request.function, request.dstLines, dst, request.record.dst, format);
    for (Side* side : {&from, &to}) {
        const Side::Selection selection = side->select();
        if (selection == Side::Selection::Refused) return ServiceOutcome::Refused;
        if (selection == Side::Selection::NoBuffer) return ServiceOutcome::Failed;
    }
    VANTOR_LOG_INFO(request.function, request.srcLines.picture,
                    "IN : y=%p, uv=%p, size=[%dx%d], fdY=%d(%s), fdUV=%d(%s)",
                    static_cast<void*>(from.words().y), static_cast<void*>(from.words().uv), src.width,
                    src.height, from.words().fdY, modeLabel(src.fdY), from.words().fdUV, modeLabel(src.fdUV));
    VANTOR_LOG_INFO(request.function, request.dstLines.picture,
                    "OUT : y=%p, uv=%p, size=[%dx%d], fdY=%d(%s), fdUV=%d(%s)",
                    static_cast<void*>(to.words().y), static_cast<void*>(to.words().uv), dst.width,
                    dst.height, to.words().fdY, modeLabel(dst.fdY), to.words().fdUV, modeLabel(dst.fdUV));
    copyIn(from, to, src, format);

    int32_t status = 0;
    {
        if (!from.createHandle()) return ServiceOutcome::NoHandle;
        const hidl_handle srcHandle(from.handle());
        if (!to.createHandle()) return ServiceOutcome::NoHandle;
        const hidl_handle dstHandle(to.handle());
        status = timedCall(request, dstHandle, srcHandle);
        if (status != 0) {
            request.logFailure();
        } else {
            copyOut(to, dst, format);
        }
        to.release(from.release(status));
    }
    request.logDone();
    return status == 0 ? ServiceOutcome::Done : ServiceOutcome::Failed;
}

int32_t statusOf(ServiceOutcome outcome) {
    return outcome == ServiceOutcome::Done       ? kSuccess
           : outcome == ServiceOutcome::NoHandle ? kNoHandle
                                                 : kFailure;
}

service::ImageGeometry geometry(const BufferData& image) {
    return {image.width, image.height, image.cropLeft, image.cropTop, image.cropRight, image.cropBottom};
}

}  // namespace hardware
