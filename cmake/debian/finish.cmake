# Run by cpack over the installed files, before they are packed: what Debian wants of every package.
find_program(GZIP gzip REQUIRED)
set(source ${CMAKE_CURRENT_LIST_DIR}/../..)
foreach(component LIBRARY DEVELOPMENT TOOL)
    string(TOLOWER ${component} folder)
    set(share ${CPACK_TEMPORARY_DIRECTORY}/${folder}/usr/share)
    set(name ${CPACK_DEBIAN_${component}_PACKAGE_NAME})
    set(doc ${share}/doc/${name})
    if(component STREQUAL DEVELOPMENT)
        # One folder for all of it, under the package's name; the licence is in the file "copyright".
        file(RENAME ${share}/doc/Vantor10 ${doc})
        file(REMOVE ${doc}/CHANGELOG.md ${doc}/LICENSE)
    endif()
    configure_file(${source}/cmake/debian/copyright ${doc}/copyright COPYONLY)
    configure_file(${source}/cmake/debian/changelog ${doc}/changelog.Debian COPYONLY)
    configure_file(${source}/CHANGELOG.md ${doc}/changelog COPYONLY)
    file(GLOB pages ${share}/man/man*/*)
    # Whatever the modes of the sources are.
    file(CHMOD_RECURSE ${doc} FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ
         DIRECTORY_PERMISSIONS ${CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
    execute_process(COMMAND ${GZIP} -9n ${doc}/changelog.Debian ${doc}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
