# A shared library that exports exactly the symbols of a list and needs no C++ runtime.
include_guard(GLOBAL)

# wyx_shared_library(<target> EXPORTS <file>...): each <file> names one symbol per line, sorted. The
# target's property WYX_EXPORTS holds the files' full paths, for the tests.
function(wyx_shared_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "EXPORTS")
    set(globals "")
    foreach(exports IN LISTS arg_EXPORTS)
        cmake_path(ABSOLUTE_PATH exports NORMALIZE)
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${exports}")
        set_property(TARGET ${target} APPEND PROPERTY WYX_EXPORTS "${exports}")
        file(STRINGS "${exports}" listed)
        foreach(symbol IN LISTS listed)
            string(APPEND globals "    ${symbol};\n")
        endforeach()
    endforeach()
    set(map "${CMAKE_CURRENT_BINARY_DIR}/${target}.map")
    file(CONFIGURE OUTPUT "${map}"
         CONTENT "{\n  global:\n@globals@  local:\n    *;\n};\n" @ONLY)

    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        # Both libraries are in the same folder, built or installed, and find each other there; no
        # path of the build machine gets into them.
        LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib"
        BUILD_WITH_INSTALL_RPATH ON
        INSTALL_RPATH "$ORIGIN"
        LINK_DEPENDS "${map}")
    target_compile_options(${target} PRIVATE
        ${WYX_CPU_FLAGS}
        $<$<BOOL:${WYX_DEBUG_INFO}>:-g>
        -fno-exceptions -fno-rtti
        -fstack-protector-strong
        -ffunction-sections -fdata-sections
        # Keeps the optimiser from turning loops into calls to the C library.
        -fno-builtin
        $<$<CXX_COMPILER_ID:GNU>:-fno-tree-loop-distribute-patterns>)
    if(ANDROID OR CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        # Smaller code that executes no more instructions: see docs/footprint.md.
        target_compile_options(${target} PRIVATE
            $<$<CXX_COMPILER_ID:GNU>:-fno-shrink-wrap>
            $<$<CXX_COMPILER_ID:GNU>:-falign-functions=4>
            $<$<CXX_COMPILER_ID:GNU>:-freorder-blocks-algorithm=simple>
            $<$<CXX_COMPILER_ID:Clang>:-fno-jump-tables>
            $<$<AND:$<CXX_COMPILER_ID:Clang>,$<CONFIG:Release>>:-O2>)
    endif()
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64)$")
        target_compile_options(${target} PRIVATE -fno-plt) # on AArch64 it would add 16 bytes a call
    endif()
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        # The helpers for atomic operations would query the CPU's features when the library is
        # loaded.
        target_compile_options(${target} PRIVATE -mno-outline-atomics)
    endif()
    target_link_options(${target} PRIVATE
        "LINKER:--version-script=${map}"
        # The linker's map, for scripts/footprint.sh.
        "LINKER:-Map=${CMAKE_CURRENT_BINARY_DIR}/${target}.link.map"
        # Calls inside the library stay inside it. Data is excluded on purpose: an executable that
        # uses an exported object may hold the only copy of it.
        LINKER:-Bsymbolic-functions
        LINKER:--as-needed LINKER:--gc-sections
        # If no kind is given, lld makes an id of 8 bytes, which Android's debugger does not accept.
        LINKER:--build-id=sha1
        LINKER:--hash-style=gnu
        LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
    if(ANDROID OR CMAKE_SYSTEM_PROCESSOR MATCHES "^(aarch64|arm64)$")
        # For devices with 16 KiB pages, emulated ones included.
        target_link_options(${target} PRIVATE
            LINKER:-z,max-page-size=16384 LINKER:-z,common-page-size=16384)
    endif()
    if(ANDROID AND ANDROID_STL STREQUAL "none")
        # Only headers of the C++ library are used, and without an STL the NDK hides these, too.
        target_compile_options(${target} PRIVATE
            "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-isystem ${CMAKE_SYSROOT}/usr/include/c++/v1>")
    endif()
    if(WYX_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage -fprofile-update=atomic)
        target_link_options(${target} PRIVATE --coverage)
    endif()
    if(NOT WYX_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:-z,defs)
        # Without the start files nothing runs at load; there are no constructors for them to call.
        # Android needs them: they contain the note from which its loader reads the API level.
        # gcov's counters need them, too.
        if(NOT WYX_COVERAGE AND NOT ANDROID)
            target_link_options(${target} PRIVATE -nostartfiles)
        endif()
    endif()
endfunction()

# wyx_static_library(<target>): the same objects as an archive, <target>_static, for linking
# everything into one file. Without install rules, it is made only if something links it.
function(wyx_static_library target)
    add_library(${target}_static STATIC $<TARGET_OBJECTS:${target}>)
    set_target_properties(${target}_static PROPERTIES
        OUTPUT_NAME ${target}
        ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib"
        LINKER_LANGUAGE C) # linking it needs no C++ compiler
    if(NOT WYX_INSTALL)
        set_target_properties(${target}_static PROPERTIES EXCLUDE_FROM_ALL ON)
    endif()
endfunction()
