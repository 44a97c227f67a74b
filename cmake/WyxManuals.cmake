# Manual pages: wyx(1), made from the tool's grammar, and those of section 3, made from the comments
# of the headers.
include_guard(GLOBAL)

set(WYX_MAN_DATE "November 22, 2026") # of the last change that readers would notice
set(WYX_MAN_FOLDER "${PROJECT_BINARY_DIR}/man")

find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT Python3_Interpreter_FOUND)
    message(STATUS "The manual pages are left out: making them needs Python 3")
    return()
endif()

set(modules crc md5 dlink slink hash ini_parser ip4_ip6_parser base64)
set(services os_adapter bounded)
set(stamps "")
if(TARGET wyx)
    set(page "${WYX_MAN_FOLDER}/man1/wyx.1")
    set(grammar "${PROJECT_SOURCE_DIR}/tools/wyx/verbs/commands.cpp")
    set(frame "${PROJECT_SOURCE_DIR}/docs/man/wyx.1.in")
    add_custom_command(OUTPUT "${page}"
        COMMAND "${Python3_EXECUTABLE}" "${PROJECT_SOURCE_DIR}/scripts/make_tool_man.py"
            "${grammar}" "${frame}" --version ${PROJECT_VERSION} --date "${WYX_MAN_DATE}"
            --output "${page}"
        DEPENDS "${grammar}" "${frame}" "${PROJECT_SOURCE_DIR}/scripts/make_tool_man.py"
        VERBATIM)
    list(APPEND stamps "${page}")
endif()
foreach(name IN ITEMS types ${modules} ${services})
    set(page wyx_${name})
    set(library wyx_commlib)
    set(include wyx_commlib/${name}.h)
    set(header "${PROJECT_SOURCE_DIR}/include/${include}")
    set(see_also "wyx_commlib(3)")
    if(name STREQUAL "types")
        set(page wyx_commlib)
        set(include wyx_commlib/commlib.h)
        list(TRANSFORM modules PREPEND wyx_ OUTPUT_VARIABLE see_also)
        list(APPEND see_also wyx_bounded wyx_os_adapter)
        list(SORT see_also)
        list(TRANSFORM see_also APPEND "(3)")
        list(PREPEND see_also "wyx(1)")
    elseif(name IN_LIST services)
        set(library wyx_os_adapter)
        set(include ${name}.h)
        set(header "${PROJECT_SOURCE_DIR}/platform/${include}")
    endif()
    set(stamp "${WYX_MAN_FOLDER}/${page}.stamp")
    add_custom_command(OUTPUT "${stamp}"
        COMMAND "${Python3_EXECUTABLE}" "${PROJECT_SOURCE_DIR}/scripts/make_man.py" "${header}"
            --page ${page} --version ${PROJECT_VERSION} --date "${WYX_MAN_DATE}"
            --include ${include} --library ${library} --output "${WYX_MAN_FOLDER}/man3"
            --see-also ${see_also}
        COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
        DEPENDS "${header}" "${PROJECT_SOURCE_DIR}/scripts/make_man.py"
        VERBATIM)
    list(APPEND stamps "${stamp}")
endforeach()
add_custom_target(wyx_manuals ALL DEPENDS ${stamps})
