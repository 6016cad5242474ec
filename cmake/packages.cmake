# Debian packages: libvantor10, libvantor10-dev and vantor. Configure with CMAKE_INSTALL_PREFIX=/usr, then run cpack.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantor10)
set(CPACK_PACKAGE_VENDOR "The libVantor10 developers")
set(CPACK_PACKAGE_CONTACT "The libVantor10 developers <developers@vantor10.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development tool)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvantor10)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/shlibs
    ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "scaling and warping of 8-bit NV12 and grayscale pictures
Scales pictures with bicubic, bilinear and four-tap filters, and warps them
through a grid of 33 x 33 displacements, in a fixed-point model of the
distortion-correction engine of an Android device: with the same bytes on the
device and on a workstation.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantor10-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS library)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "scaling and warping of 8-bit NV12 pictures: development files
Headers, files for CMake and pkg-config, and documents of libVantor10, which
scales pictures and warps them with the bytes of the device's engine.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vantor)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_TOOL_DEPENDS library)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "scale and warp pictures from the shell, bit-exact
Scales and warps PNG and raw NV12, I420 and grayscale pictures with
libVantor10, makes grids from camera calibrations, and compares, explains and
shows results. vantor-selftest says whether a machine gives the published
bytes.")
include(cmake/python.cmake)
include(CPack)
