# Debian packages: libvantor1, libvantor-dev, libvantor10, libvantor10-dev, vantor, python3-vantor, vantor-verification
# and gstreamer1.0-vantor.
# Configure with CMAKE_INSTALL_PREFIX=/usr, then run cpack.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME vantor10)
set(CPACK_PACKAGE_VENDOR "The libVantor10 developers")
set(CPACK_PACKAGE_CONTACT "The libVantor10 developers <developers@vantor10.example.org>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")  # each package has its own
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL c_library c_development library development tool)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/debian/finish.cmake)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)

set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_NAME libvantor1)
set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_C_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/libvantor1/shlibs
    ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_C_LIBRARY_DESCRIPTION "scaling and warping of 8-bit pictures, for C
Scales and warps NV12, NV21, I420 and grayscale pictures with any stride, on
one thread or on all cores, with the same bytes as libVantor10.")

# It also has what both development packages need: the entry for find_package, and the documents.
set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_NAME libvantor-dev)
set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_BREAKS "libvantor10-dev (<< 1.2.0)")
set(CPACK_DEBIAN_C_DEVELOPMENT_PACKAGE_REPLACES "libvantor10-dev (<< 1.2.0)")
set(CPACK_COMPONENT_C_DEVELOPMENT_DEPENDS c_library)
set(CPACK_COMPONENT_C_DEVELOPMENT_DESCRIPTION "scaling and warping of 8-bit pictures, for C: development files
Header of libvantor, files for CMake and pkg-config, and documents.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libvantor10)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/libvantor10/shlibs
    ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION "scaling and warping of 8-bit NV12 and grayscale pictures
Scales pictures with bicubic, bilinear and four-tap filters, and warps them
through a grid of 33 x 33 displacements, in a fixed-point model of the
distortion-correction engine of an Android device: with the same bytes on the
device and on a workstation.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libvantor10-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DEVELOPMENT_DEPENDS c_development library)
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION "scaling and warping of 8-bit NV12 pictures: development files
Headers, and files for CMake and pkg-config, of libVantor10, which scales
pictures and warps them with the bytes of the device's engine.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME vantor)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION graphics)
set(CPACK_COMPONENT_TOOL_DEPENDS library)
set(CPACK_COMPONENT_TOOL_DESCRIPTION "scale and warp pictures from the shell, bit-exact
Scales and warps PNG, JPEG, Y4M and raw pictures with
libVantor10, makes grids from camera calibrations, and compares, explains and
shows results. vantor-selftest says whether a machine gives the published
bytes.")
include(cmake/python.cmake)
include(cmake/verification.cmake)
include(cmake/gstreamer.cmake)
include(CPack)
