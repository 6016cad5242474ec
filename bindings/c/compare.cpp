#include "bindings/c/compare.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "bindings/c/failure.h"
#include "bindings/c/picture_view.h"

namespace vantor::c {
namespace {

/// Y, U, V.
SampleView component(const vantor_image& image, int index) {
    if (index == 0) return {image.plane[0], image.stride[0], 1};
    if (image.format == VANTOR_I420) return {image.plane[index], image.stride[index], 1};
    const int second = image.format == VANTOR_NV21 ? 1 : 2;
    return {image.plane[1] + (index == second), image.stride[1], 2};
}

/// Counts the differences of a row, and returns the column of the first, or -1.
int addRow(const SampleView& a, const SampleView& b, std::ptrdiff_t row, int width, uint64_t* histogram) {
    const uint8_t* fromA = a.first + row * a.stride;
    const uint8_t* fromB = b.first + row * b.stride;
    if (a.step == 1 && b.step == 1 && std::memcmp(fromA, fromB, static_cast<size_t>(width)) == 0) {
        histogram[0] += static_cast<uint64_t>(width);
        return -1;
    }
    int first = -1;
    for (int x = width - 1; x >= 0; --x) {
        const int distance = std::abs(fromA[x * a.step] - fromB[x * b.step]);
        ++histogram[distance];
        if (distance != 0) first = x;
    }
    return first;
}

/// What follows from the histogram.
void sumUp(vantor_difference& d) {
    for (int i = 0; i < 256; ++i) {
        const uint64_t count = d.histogram[i];
        d.samples += count;
        if (i == 0 || count == 0) continue;
        d.differing += count;
        d.largest = i;
        d.squares += static_cast<double>(count) * i * i;
    }
    d.psnr = 10 * std::log10(255.0 * 255.0 * static_cast<double>(d.samples) / d.squares);
}

}  // namespace

vantor_difference difference(const SampleView& a, const SampleView& b, Size size) {
    vantor_difference found{};
    bool isFirst = true;
    for (int y = 0; y < size.height; ++y) {
        const int x = addRow(a, b, y, size.width, found.histogram);
        if (x < 0 || !isFirst) continue;
        isFirst = false;
        found.first_x = x;
        found.first_y = y;
        found.first_a = a.first[y * a.stride + x * a.step];
        found.first_b = b.first[y * b.stride + x * b.step];
    }
    sumUp(found);
    return found;
}

}  // namespace vantor::c

using namespace vantor::c;

int vantor_compare(const vantor_image* a, const vantor_image* b, vantor_difference differences[3]) {
    return guarded(nullptr, [&] {
        checkPointer("differences", differences);
        checkImage("a", a, kScaleLimit);
        checkImage("b", b, kScaleLimit);
        if (a->width != b->width || a->height != b->height) {
            throw invalid("b: %dx%d, expected the size of a, %dx%d", b->width, b->height, a->width,
                          a->height);
        }
        if (hasChroma(*a) != hasChroma(*b))
            throw invalid("b: format %d, expected chroma or none as in a, format %d", b->format, a->format);
        const vantor::Size luma{a->width, a->height};
        const vantor::Size chroma{a->width / 2, a->height / 2};
        for (int i = 0; i < (hasChroma(*a) ? 3 : 1); ++i)
            differences[i] = difference(component(*a, i), component(*b, i), i == 0 ? luma : chroma);
    });
}
