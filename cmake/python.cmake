# The Debian package python3-vantor: pure Python, over the library of libvantor1.
install(DIRECTORY bindings/python/vantor DESTINATION lib/python3/dist-packages COMPONENT python
        FILES_MATCHING PATTERN *.py PATTERN py.typed PATTERN __pycache__ EXCLUDE)

list(APPEND CPACK_COMPONENTS_ALL python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-vantor)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "python3 (>= 3.9), python3-numpy")
set(CPACK_COMPONENT_PYTHON_DEPENDS c_library)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS "python3-matplotlib, python3-pil, python3-yaml")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/python/postinst
    ${PROJECT_SOURCE_DIR}/cmake/debian/python/prerm)
set(CPACK_COMPONENT_PYTHON_DESCRIPTION "scaling and warping of 8-bit pictures in NumPy arrays
Scales pictures in NumPy arrays and warps them through grids, made of angles,
lenses, OpenCV's calibrations and dense maps, with the bytes of libvantor: on
all processors, in threads, processes and clusters.")
