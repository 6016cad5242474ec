// GStreamer's frames as the C library's pictures, and what is around a picture in its frame.
#pragma once

#include <gst/video/video.h>

#include "vantor/vantor.h"

namespace vantor::gstreamer {

/// A part of a mapped frame, at an even position where there is chroma, with the strides and offsets that its
/// buffer has. `negotiated` is what the caps say of it. Throws where a plane is not all in the buffer.
vantor_image viewOf(const GstVideoFrame& frame, const GstVideoInfo& negotiated, const vantor_rect& part);
vantor_image viewOf(const GstVideoFrame& frame, const GstVideoInfo& negotiated);

/// Makes all of a picture black but for a part.
void blackenAround(const vantor_image& whole, const vantor_rect& part, bool isFullRange);

}  // namespace vantor::gstreamer
