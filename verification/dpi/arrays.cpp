#include "verification/dpi/arrays.h"

#include "bindings/c/failure.h"

namespace vantor::dpi {
namespace {

size_t elementsOf(svOpenArrayHandle array) {
    size_t elements = 1;
    for (int dimension = 1; dimension <= svDimensions(array); ++dimension)
        elements *= static_cast<size_t>(svSize(array, dimension));
    return elements;
}

}  // namespace

void* checkedArray(const char* name, svOpenArrayHandle array, size_t elementBytes, size_t count) {
    const char* const type = elementBytes == 1 ? "byte unsigned" : "int";
    void* const data = svGetArrayPtr(array);
    if (!data)
        throw c::invalid("%s: the simulator does not show its memory, expected an array of %s", name, type);
    const size_t elements = elementsOf(array);
    const auto size = static_cast<size_t>(svSizeOfArray(array));
    if (size != elements * elementBytes) {
        throw c::invalid("%s: %zu elements in %zu bytes, expected an array of %s", name, elements, size,
                         type);
    }
    if (elements != count) throw c::invalid("%s: %zu elements, expected %zu", name, elements, count);
    return data;
}

}  // namespace vantor::dpi
