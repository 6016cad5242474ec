// The comparison of pictures, component by component.
#pragma once

#include <cstddef>
#include <cstdint>

#include "geometry/size.h"
#include "vantor/vantor.h"

namespace vantor::c {

/// Samples of one component.
struct SampleView {
    const uint8_t* first;
    std::ptrdiff_t stride;  ///< bytes from row to row
    std::ptrdiff_t step;    ///< from one sample to the next
};

vantor_difference difference(const SampleView& a, const SampleView& b, Size size);

}  // namespace vantor::c
