# What cmake --install puts where. The components are the packages: the C library and its development, the device's
# library and its development, and the tool.
include(CMakePackageConfigHelpers)
set(private_libraries ${CMAKE_INSTALL_LIBDIR}/vantor10)
set(headers ${CMAKE_INSTALL_INCLUDEDIR}/vantor10)
set(cmake_files ${CMAKE_INSTALL_LIBDIR}/cmake/Vantor10)
file(RELATIVE_PATH from_tools ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})

# The platform's stand-in exports the platform's own names, so it is kept where nobody else looks.
set_target_properties(Vantor10 vantor10_service PROPERTIES INSTALL_RPATH $ORIGIN/vantor10)
install(TARGETS Vantor10 vantor10_service EXPORT Vantor10
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development)
install(TARGETS vantor_c EXPORT vantor
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT c_library NAMELINK_COMPONENT c_development)
install(TARGETS vantor_platform LIBRARY DESTINATION ${private_libraries} COMPONENT library)

file(STRINGS cmake/public_headers.txt public_headers)
foreach(header ${public_headers})
    get_filename_component(directory ${header} DIRECTORY)
    install(FILES ${header} DESTINATION ${headers}/${directory} COMPONENT development)
endforeach()
install(FILES bindings/c/vantor/vantor.h bindings/c/vantor/vantor_backend.h
        DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/vantor COMPONENT c_development)

# One package for find_package, of whose targets each library's development component brings its own.
install(EXPORT vantor NAMESPACE Vantor10:: FILE VantorTargets.cmake DESTINATION ${cmake_files} COMPONENT c_development)
install(EXPORT Vantor10 NAMESPACE Vantor10:: FILE Vantor10Targets.cmake DESTINATION ${cmake_files}
        COMPONENT development)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/package/Vantor10ConfigVersion.cmake
                                 COMPATIBILITY SameMajorVersion)
install(FILES cmake/Vantor10Config.cmake ${PROJECT_BINARY_DIR}/package/Vantor10ConfigVersion.cmake
        DESTINATION ${cmake_files} COMPONENT c_development)

# The paths start at the file's own directory, so that an installation can be moved.
file(RELATIVE_PATH pc_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" pc_prefix ${pc_prefix})
foreach(name vantor vantor10 vantor10-service)
    configure_file(cmake/${name}.pc.in package/${name}.pc @ONLY)
endforeach()
install(FILES ${PROJECT_BINARY_DIR}/package/vantor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig
        COMPONENT c_development)
install(FILES ${PROJECT_BINARY_DIR}/package/vantor10.pc ${PROJECT_BINARY_DIR}/package/vantor10-service.pc
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)

set_target_properties(vantor-selftest PROPERTIES INSTALL_RPATH $ORIGIN/${from_tools})
install(TARGETS vantor-selftest RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
install(FILES tools/selftest/vantor-selftest.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
if(TARGET vantor)
    set_target_properties(vantor PROPERTIES INSTALL_RPATH $ORIGIN/${from_tools}/vantor10)
    install(TARGETS vantor RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT tool)
    install(FILES tools/vantor/completion/vantor.bash DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions
            RENAME vantor COMPONENT tool OPTIONAL)
    # zsh looks for what is not a package's elsewhere.
    string(COMPARE EQUAL ${CMAKE_INSTALL_PREFIX} /usr is_package)
    install(FILES tools/vantor/completion/_vantor COMPONENT tool DESTINATION
            ${CMAKE_INSTALL_DATADIR}/zsh/$<IF:${is_package},vendor-completions,site-functions>)
    install(FILES tools/vantor/completion/vantor.fish DESTINATION
            ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT tool)
    install(FILES docs/vantor.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tool)
endif()

file(GLOB pages CONFIGURE_DEPENDS RELATIVE ${PROJECT_SOURCE_DIR} docs/*.md)
install(FILES CHANGELOG.md LICENSE README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT c_development)
install(FILES ${pages} DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT c_development)
install(DIRECTORY docs/images DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT c_development)
