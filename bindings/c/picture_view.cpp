#include "bindings/c/picture_view.h"

#include "bindings/c/failure.h"

namespace vantor::c {
namespace {

constexpr const char* kPlaneNames[] = {"plane[0]", "plane[1]", "plane[2]"};
constexpr const char* kStrideNames[] = {"stride[0]", "stride[1]", "stride[2]"};

}  // namespace

void checkSide(const char* name, const char* side, int value, int limit, bool isEven) {
    const int least = isEven ? 2 : 1;
    if (value < least || value > limit)
        throw invalid("%s: %s %d, expected %d to %d", name, side, value, least, limit);
    if (isEven && value % 2 != 0)
        throw invalid("%s: %s %d, expected an even number, as chroma has half of it", name, side, value);
}

void checkPlane(const char* name, const char* plane, const char* stride, const PlaneView& view) {
    if (!view.data) throw invalid("%s: %s is null", name, plane);
    if (view.stride < view.rowBytes) {
        throw invalid("%s: %s %lld, expected at least %d", name, stride, static_cast<long long>(view.stride),
                      view.rowBytes);
    }
    const uintptr_t room = UINTPTR_MAX - reinterpret_cast<uintptr_t>(view.data);
    const uintptr_t step = static_cast<uintptr_t>(view.stride);
    const uintptr_t steps = static_cast<uintptr_t>(view.rows) - 1;
    const uintptr_t rowBytes = static_cast<uintptr_t>(view.rowBytes);
    if (room < rowBytes || (steps > 0 && step > (room - rowBytes) / steps)) {
        throw invalid("%s: %s %lld, with %d rows beyond the end of memory", name, stride,
                      static_cast<long long>(view.stride), view.rows);
    }
}

/// Both are walked in the order of their addresses.
bool overlap(const PlaneView& a, const PlaneView& b) {
    const auto begin = [](const PlaneView& view, int row) {
        return reinterpret_cast<uintptr_t>(view.data) +
               static_cast<uintptr_t>(view.stride) * static_cast<uintptr_t>(row);
    };
    const auto end = [&](const PlaneView& view, int row) {
        return begin(view, row) + static_cast<uintptr_t>(view.rowBytes);
    };
    if (end(a, a.rows - 1) <= begin(b, 0) || end(b, b.rows - 1) <= begin(a, 0)) return false;
    for (int i = 0, j = 0; i < a.rows && j < b.rows;) {
        if (end(a, i) <= begin(b, j)) {
            ++i;
        } else if (end(b, j) <= begin(a, i)) {
            ++j;
        } else {
            return true;
        }
    }
    return false;
}

bool hasChroma(const vantor_image& image) {
    return image.format != VANTOR_GRAY8;
}

int planeCount(const vantor_image& image) {
    return image.format == VANTOR_GRAY8 ? 1 : image.format == VANTOR_I420 ? 3 : 2;
}

PlaneView planeView(const vantor_image& image, int plane) {
    const bool isHalf = plane > 0;
    const int width = isHalf && image.format == VANTOR_I420 ? image.width / 2 : image.width;
    return {image.plane[plane], image.stride[plane], width, isHalf ? image.height / 2 : image.height};
}

void checkImage(const char* name, const vantor_image* image, const SizeLimit& limit) {
    if (!image) throw invalid("%s is null", name);
    if (image->format < VANTOR_GRAY8 || image->format > VANTOR_I420)
        throw invalid("%s: format %d, expected %d to %d", name, image->format, VANTOR_GRAY8, VANTOR_I420);
    checkSide(name, "width", image->width, limit.width, hasChroma(*image));
    checkSide(name, "height", image->height, limit.height, hasChroma(*image));
    for (int plane = 0; plane < planeCount(*image); ++plane)
        checkPlane(name, kPlaneNames[plane], kStrideNames[plane], planeView(*image, plane));
}

void checkDestination(const vantor_image* dst, const SizeLimit& limit) {
    checkImage("dst", dst, limit);
    for (int i = 1; i < planeCount(*dst); ++i) {
        for (int j = 0; j < i; ++j) {
            if (overlap(planeView(*dst, i), planeView(*dst, j)))
                throw invalid("dst: %s overlaps %s", kPlaneNames[i], kPlaneNames[j]);
        }
    }
}

void checkImages(const vantor_image* dst, const vantor_image* src, const SizeLimit& limit) {
    checkDestination(dst, limit);
    checkImage("src", src, limit);
    if (dst->format != src->format)
        throw invalid("src: format %d, expected that of dst, %d", src->format, dst->format);
    for (int i = 0; i < planeCount(*dst); ++i) {
        for (int j = 0; j < planeCount(*dst); ++j) {
            if (overlap(planeView(*dst, i), planeView(*src, j)))
                throw invalid("dst: %s overlaps %s of src", kPlaneNames[i], kPlaneNames[j]);
        }
    }
}

}  // namespace vantor::c
