// What both elements are: a video filter whose frames an engine of the C library computes.
#pragma once

#include <gst/video/gstvideofilter.h>
#include <gst/video/video.h>

#include <functional>
#include <string>

#include "bindings/gstreamer/even_pictures.h"
#include "bindings/gstreamer/kept_engine.h"
#include "geometry/size.h"

namespace vantor::gstreamer {

/// Of properties that may change at any time.
constexpr auto kPropertyFlags =
    static_cast<GParamFlags>(G_PARAM_READWRITE | G_PARAM_STATIC_STRINGS | GST_PARAM_MUTABLE_PLAYING);

/// What C++ constructs.
struct FilterState {
    KeptEngine engine;
    EvenPictures evenPictures;
    std::string refused;  ///< why the caps before were, as elements ask again and again
};

struct VantorFilter {
    GstVideoFilter parent;
    FilterState* state;
};

struct VantorFilterClass {
    GstVideoFilterClass parent;
    Size maxSize;
    /// Makes a frame. What it throws is posted, and ends the stream.
    void (*process)(VantorFilter* filter, const GstVideoFrame& to, const GstVideoFrame& from);
};

GType vantor_filter_get_type();

/// A call of the C library: 0, or a negative status.
using EngineCall = std::function<int(vantor_engine*, const vantor_image* dst, const vantor_image* src)>;

/// Makes `call` with the filter's engine, for pictures of any size. Throws what the library says if it fails.
void compute(VantorFilter* filter, const vantor_image& dst, const vantor_image& src, const EngineCall& call);

}  // namespace vantor::gstreamer
