# Hardening of programs and libraries: stack protectors, nothing writable that need not be
# (all symbols are bound at the start, and their table is then read-only), no executable stack, randomised addresses.
add_compile_options(-fstack-protector-strong)
add_link_options(LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
include(CheckPIESupported)
check_pie_supported()

# vantor_fortify(TARGET): checks the library calls of a target, as far as the compiler sees the sizes. That gives the
# calls other names, so it is not for the library, whose calls can be replaced by name. Sanitizers check more.
function(vantor_fortify target)
    if(NOT VANTOR_SANITIZE)
        target_compile_options(${target} PRIVATE
                               $<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=2>)
    endif()
endfunction()
