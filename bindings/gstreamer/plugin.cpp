// The plugin: what GStreamer asks it for when it is loaded.
#include <gst/gst.h>

#include "bindings/gstreamer/scale_element.h"
#include "bindings/gstreamer/warp_element.h"

#define PACKAGE "vantor10"

namespace {

// No rank: elements that choose others by themselves leave these alone.
gboolean registerElements(GstPlugin* plugin) {
    return gst_element_register(plugin, "vantorscale", GST_RANK_NONE,
                                vantor::gstreamer::vantor_scale_get_type()) &&
           gst_element_register(plugin, "vantorwarp", GST_RANK_NONE,
                                vantor::gstreamer::vantor_warp_get_type());
}

}  // namespace

GST_PLUGIN_DEFINE(GST_VERSION_MAJOR, GST_VERSION_MINOR, vantor,
                  "Scaling and warping with the bytes of libvantor", registerElements, VANTOR_VERSION,
                  "Apache 2.0", "libVantor10", "https://vantor10.example.org/")
