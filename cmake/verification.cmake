# The Debian package vantor-verification: the library for hardware simulators, and the SystemVerilog to go with it.
if(NOT TARGET vantor_dpi)
    return()
endif()
install(TARGETS vantor_dpi LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT verification)
set(kit ${CMAKE_INSTALL_DATADIR}/vantor/verification)
install(FILES verification/arithmetic.json verification/vantor_coverage.sv verification/vantor_dpi.sv
        DESTINATION ${kit} COMPONENT verification)
install(DIRECTORY verification/bench verification/rtl DESTINATION ${kit} COMPONENT verification USE_SOURCE_PERMISSIONS
        PATTERN build EXCLUDE)

list(APPEND CPACK_COMPONENTS_ALL verification)
set(CPACK_DEBIAN_VERIFICATION_PACKAGE_NAME vantor-verification)
set(CPACK_DEBIAN_VERIFICATION_PACKAGE_SECTION electronics)
set(CPACK_DEBIAN_VERIFICATION_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)
set(CPACK_DEBIAN_VERIFICATION_PACKAGE_RECOMMENDS "g++, make, vantor, verilator")
set(CPACK_DEBIAN_VERIFICATION_PACKAGE_SUGGESTS "iverilog, yosys")
set(CPACK_COMPONENT_VERIFICATION_DESCRIPTION "scaling and warping of 8-bit pictures: verification of hardware
The engines of libvantor for simulators of SystemVerilog, by DPI-C: whole
pictures, and the arithmetic unit by unit. With synthesizable blocks, their
benches, and faults that benches have to find.")
