# Tool chain for a Debian cross compiler and the emulator: pass TRIPLE, QEMU and ARCH_FLAGS.
set(CMAKE_TRY_COMPILE_PLATFORM_VARIABLES TRIPLE QEMU ARCH_FLAGS)
string(REGEX REPLACE "-.*" "" CMAKE_SYSTEM_PROCESSOR "${TRIPLE}")
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_CXX_COMPILER ${TRIPLE}-g++)
set(CMAKE_CXX_FLAGS_INIT "${ARCH_FLAGS}")

execute_process(COMMAND ${TRIPLE}-g++ -print-file-name=libc.so.6 OUTPUT_VARIABLE libc
                OUTPUT_STRIP_TRAILING_WHITESPACE)
get_filename_component(libraries "${libc}" DIRECTORY)
get_filename_component(sysroot "${libraries}/.." ABSOLUTE)
set(CMAKE_FIND_ROOT_PATH ${sysroot})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# The library path is passed on as well, or the emulated loader would look into the host's library cache.
set(CMAKE_CROSSCOMPILING_EMULATOR ${QEMU} -L ${sysroot} -E LD_LIBRARY_PATH=${sysroot}/lib)
