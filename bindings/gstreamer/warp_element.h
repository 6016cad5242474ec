// The element vantorwarp.
#pragma once

#include <glib-object.h>

namespace vantor::gstreamer {

GType vantor_warp_get_type();

}  // namespace vantor::gstreamer
