#ifndef HIDL_GENERATED_VENDOR_NORLAKE_HARDWARE_VANTORSERVICE_V1_0_TYPES_H
#define HIDL_GENERATED_VENDOR_NORLAKE_HARDWARE_VANTORSERVICE_V1_0_TYPES_H

#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <utils/NativeHandle.h>
#include <utils/misc.h>

namespace vendor {
namespace norlake {
namespace hardware {
namespace vantorService {
namespace V1_0 {

// Forward declaration for forward reference support:
struct ImageGeometry;
struct GdcGrid;

/**
 * Size of a picture in pixels, and its region of interest: four inclusive edges.
 */
struct ImageGeometry final {
    int32_t width __attribute__ ((aligned(4)));
    int32_t height __attribute__ ((aligned(4)));
    int32_t cropLeft __attribute__ ((aligned(4)));
    int32_t cropTop __attribute__ ((aligned(4)));
    int32_t cropRight __attribute__ ((aligned(4)));
    int32_t cropBottom __attribute__ ((aligned(4)));
};

static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, width) == 0, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, height) == 4, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, cropLeft) == 8, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, cropTop) == 12, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, cropRight) == 16, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry, cropBottom) == 20, "wrong offset");
static_assert(sizeof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry) == 24, "wrong size");
static_assert(__alignof(::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry) == 4, "wrong alignment");

/**
 * Displacements at the 33 by 33 nodes of a warping grid, in 1/256 of a virtual unit.
 */
struct GdcGrid final {
    ::android::hardware::hidl_array<int32_t, 33, 33> dX __attribute__ ((aligned(4)));
    ::android::hardware::hidl_array<int32_t, 33, 33> dY __attribute__ ((aligned(4)));
};

static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::GdcGrid, dX) == 0, "wrong offset");
static_assert(offsetof(::vendor::norlake::hardware::vantorService::V1_0::GdcGrid, dY) == 4356, "wrong offset");
static_assert(sizeof(::vendor::norlake::hardware::vantorService::V1_0::GdcGrid) == 8712, "wrong size");
static_assert(__alignof(::vendor::norlake::hardware::vantorService::V1_0::GdcGrid) == 4, "wrong alignment");

//
// type declarations for package
//

static inline std::string toString(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& o);
static inline bool operator==(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& rhs);
static inline bool operator!=(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& rhs);

static inline std::string toString(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& o);
static inline bool operator==(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& rhs);
static inline bool operator!=(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& rhs);

//
// type header definitions for package
//

static inline std::string toString(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& o) {
    using ::android::hardware::toString;
    std::string os;
    os += "{";
    os += ".width = ";
    os += ::android::hardware::toString(o.width);
    os += ", .height = ";
    os += ::android::hardware::toString(o.height);
    os += ", .cropLeft = ";
    os += ::android::hardware::toString(o.cropLeft);
    os += ", .cropTop = ";
    os += ::android::hardware::toString(o.cropTop);
    os += ", .cropRight = ";
    os += ::android::hardware::toString(o.cropRight);
    os += ", .cropBottom = ";
    os += ::android::hardware::toString(o.cropBottom);
    os += "}"; return os;
}

static inline bool operator==(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& rhs) {
    if (lhs.width != rhs.width) {
        return false;
    }
    if (lhs.height != rhs.height) {
        return false;
    }
    if (lhs.cropLeft != rhs.cropLeft) {
        return false;
    }
    if (lhs.cropTop != rhs.cropTop) {
        return false;
    }
    if (lhs.cropRight != rhs.cropRight) {
        return false;
    }
    if (lhs.cropBottom != rhs.cropBottom) {
        return false;
    }
    return true;
}

static inline bool operator!=(const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::ImageGeometry& rhs){
    return !(lhs == rhs);
}

static inline std::string toString(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& o) {
    using ::android::hardware::toString;
    std::string os;
    os += "{";
    os += ".dX = ";
    os += ::android::hardware::toString(o.dX);
    os += ", .dY = ";
    os += ::android::hardware::toString(o.dY);
    os += "}"; return os;
}

static inline bool operator==(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& rhs) {
    if (lhs.dX != rhs.dX) {
        return false;
    }
    if (lhs.dY != rhs.dY) {
        return false;
    }
    return true;
}

static inline bool operator!=(const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& lhs, const ::vendor::norlake::hardware::vantorService::V1_0::GdcGrid& rhs){
    return !(lhs == rhs);
}


}  // namespace V1_0
}  // namespace vantorService
}  // namespace hardware
}  // namespace norlake
}  // namespace vendor

//
// global type declarations for package
//


#endif  // HIDL_GENERATED_VENDOR_NORLAKE_HARDWARE_VANTORSERVICE_V1_0_TYPES_H
