# find_package() that says what to do if the package is missing.
include_guard(GLOBAL)

# wyx_find_package(<package> FOR <what needs it> DEBIAN <its package> WITHOUT <option>)
macro(wyx_find_package package)
    cmake_parse_arguments(wyx_find "" "FOR;DEBIAN;WITHOUT" "" ${ARGN})
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
        message(FATAL_ERROR "${wyx_find_FOR} needs ${package}, which is not found. "
            "On Debian: apt-get install ${wyx_find_DEBIAN}. To do without: ${wyx_find_WITHOUT}")
    endif()
endmacro()
