# Options for building the project itself. They do not affect the targets of a project that includes it.
include_guard(GLOBAL)

option(WYX_WERROR "Treat warnings as errors" OFF)
option(WYX_COVERAGE "Instrument the libraries and the tool for gcov" OFF)
option(WYX_DEBUG_INFO "Debug information in libraries and tool, whatever the build type" OFF)
set(WYX_SANITIZE "" CACHE STRING "Sanitizers to build with, e.g. address,undefined")
set(WYX_CHAR "" CACHE STRING "Signedness of plain char: signed, unsigned, or empty for the target's own")
set_property(CACHE WYX_CHAR PROPERTY STRINGS "" signed unsigned)
set(WYX_CPU_LEVEL baseline CACHE STRING
    "CPU the library is compiled for: baseline, native, or a value of -march such as x86-64-v3")

# What the targets of the project are compiled with.
add_library(wyx_build_options INTERFACE)
target_compile_features(wyx_build_options INTERFACE cxx_std_20)
target_compile_options(wyx_build_options INTERFACE
    # The libraries have the same bytes from any folder: file names start at the source folder, also in
    # __FILE__, and the build folder is called "." in debug information.
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/="
    "-ffile-prefix-map=${CMAKE_BINARY_DIR}=."
    -Wall -Wextra -Wconversion -Wsign-conversion -Wshadow -Wundef -Wvla -Wcast-qual -Wcast-align
    -Wpointer-arith -Wformat=2 -Wdouble-promotion -Wmissing-declarations
    $<$<COMPILE_LANGUAGE:CXX>:-Wold-style-cast -Wnon-virtual-dtor -Woverloaded-virtual>
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wduplicated-cond -Wduplicated-branches -Wlogical-op>
    # GCC 12 wrongly reports overlapping copies in the string class of its own library.
    $<$<AND:$<COMPILE_LANG_AND_ID:CXX,GNU>,$<VERSION_LESS:$<CXX_COMPILER_VERSION>,13>>:-Wno-restrict>
    $<$<COMPILE_LANGUAGE:C>:-Wstrict-prototypes -Wmissing-prototypes>
    $<$<BOOL:${WYX_WERROR}>:-Werror>
    $<$<BOOL:${WYX_CHAR}>:-f${WYX_CHAR}-char>)
if(WYX_SANITIZE)
    # A target with the property WYX_UNSANITIZED is linked with the sanitizers, but compiled without
    # them.
    set(sanitize "$<NOT:$<BOOL:$<TARGET_PROPERTY:WYX_UNSANITIZED>>>")
    target_compile_options(wyx_build_options INTERFACE
        $<${sanitize}:-fsanitize=${WYX_SANITIZE}> $<${sanitize}:-fno-sanitize-recover=all>
        -fno-omit-frame-pointer
        # With instrumentation, GCC does not see what is initialised.
        $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>)
    target_link_options(wyx_build_options INTERFACE -fsanitize=${WYX_SANITIZE})
endif()

# The CPU that the two libraries are compiled for; "baseline" leaves the compiler's default.
if(NOT WYX_CPU_LEVEL STREQUAL "baseline")
    set(WYX_CPU_FLAGS "-march=${WYX_CPU_LEVEL}")
endif()
