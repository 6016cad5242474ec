// The element vantorscale.
#pragma once

#include <glib-object.h>

namespace vantor::gstreamer {

GType vantor_scale_get_type();

}  // namespace vantor::gstreamer
