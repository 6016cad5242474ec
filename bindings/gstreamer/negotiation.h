// Which sizes the scaler agrees on with its neighbours.
#pragma once

#include <gst/video/video.h>

#include "vantor/vantor.h"

namespace vantor::gstreamer {

/// The caps with any size and pixel aspect ratio.
GstCaps* withAnySize(const GstCaps* caps);

/// One of `others`, which it takes over, for the other pad of an element that has `caps` on the one of
/// `direction`: the size and the pixel aspect ratio nearest to those of `caps` that keep the display aspect
/// ratio, or nearly do. Colorimetry and chroma site, which depend on the size if they are not given, stay.
GstCaps* fixated(GstPadDirection direction, const GstCaps* caps, GstCaps* others);

/// Where a picture that is scaled to `to` keeps its display aspect ratio: in the middle, as large as can be.
vantor_rect placeOf(const GstVideoInfo& from, const GstVideoInfo& to);

}  // namespace vantor::gstreamer
