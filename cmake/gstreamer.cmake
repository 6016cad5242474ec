# The Debian package gstreamer1.0-vantor: the elements vantorscale and vantorwarp.
if(NOT TARGET vantor_gstreamer)
    return()
endif()
install(TARGETS vantor_gstreamer LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/gstreamer-1.0 COMPONENT gstreamer)

list(APPEND CPACK_COMPONENTS_ALL gstreamer)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_NAME gstreamer1.0-vantor)
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SECTION video)
# An older one refuses the plugin.
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_DEPENDS "libgstreamer1.0-0 (>= ${GSTREAMER_VERSION})")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_RECOMMENDS "gstreamer1.0-plugins-base, gstreamer1.0-tools")
set(CPACK_DEBIAN_GSTREAMER_PACKAGE_SUGGESTS "vantor")
set(CPACK_COMPONENT_GSTREAMER_DESCRIPTION "scaling and warping of 8-bit video in GStreamer
The elements vantorscale and vantorwarp scale video, and warp it through a
grid, a matrix, or the calibration of a camera, with the bytes of libvantor.")
