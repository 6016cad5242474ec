// The grid of a matrix request.
#pragma once

#include <cstdint>

#include "hardware/vantorClient/vantor_client.h"

namespace hardware {

/// What runGDCMatrix has runGDCGrid warp pictures of that size by.
vantorClient::_GDCGrid gridFromMatrix(const int16_t* matrix, int32_t width, int32_t height);

}  // namespace hardware
