// The objects behind the handles of pictures and grids.
#pragma once

#include "vantor/vantor.h"

namespace vantor::dpi {

/// Both throw a Failure where the handle is none. `name` is the argument's.
const vantor_image& imageAt(const char* name, void* handle);
const vantor_grid& gridAt(void* handle);

}  // namespace vantor::dpi
