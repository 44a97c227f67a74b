# A shared library whose exports are exactly a list, and which needs nothing of a C++ runtime.
include_guard(GLOBAL)

# wyx_shared_library(<target> EXPORTS <file>): <file> names one symbol a line, sorted.
function(wyx_shared_library target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "EXPORTS" "")
    cmake_path(ABSOLUTE_PATH arg_EXPORTS NORMALIZE)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${arg_EXPORTS}")

    file(STRINGS "${arg_EXPORTS}" symbols)
    list(TRANSFORM symbols APPEND ";" OUTPUT_VARIABLE symbol_lines)
    list(JOIN symbol_lines "\n    " symbol_lines)
    set(map "${CMAKE_CURRENT_BINARY_DIR}/${target}.map")
    file(CONFIGURE OUTPUT "${map}"
         CONTENT "{\n  global:\n    @symbol_lines@\n  local:\n    *;\n};\n" @ONLY)

    set_target_properties(${target} PROPERTIES
        CXX_VISIBILITY_PRESET hidden
        VISIBILITY_INLINES_HIDDEN ON
        VERSION ${PROJECT_VERSION}
        SOVERSION ${PROJECT_VERSION_MAJOR}
        LINK_DEPENDS "${map}")
    target_compile_options(${target} PRIVATE
        ${WYX_CPU_FLAGS}
        -fno-exceptions -fno-rtti
        -fstack-protector-strong
        -ffunction-sections -fdata-sections
        # Keeps the optimiser from turning loops into calls of the C library.
        -fno-builtin
        $<$<CXX_COMPILER_ID:GNU>:-fno-tree-loop-distribute-patterns>)
    target_link_options(${target} PRIVATE
        "LINKER:--version-script=${map}"
        # Calls inside the library stay inside it. Data is left out on purpose: an executable that
        # uses an exported object may hold the only copy of it.
        LINKER:-Bsymbolic-functions
        LINKER:--as-needed LINKER:--gc-sections LINKER:--build-id
        LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack
        # Devices with 16 KiB pages load only what is aligned for them.
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},aarch64>:LINKER:-z,max-page-size=16384>
        $<$<STREQUAL:${CMAKE_SYSTEM_PROCESSOR},aarch64>:LINKER:-z,common-page-size=16384>)
    if(NOT WYX_SANITIZE)
        target_link_options(${target} PRIVATE LINKER:-z,defs)
    endif()
endfunction()
