# Manual pages: wyx(1), made from the tool's grammar; wyx-adapter-suite(1); and the pages of section 3,
# made from the comments of the headers.
include_guard(GLOBAL)

set(WYX_MAN_DATE "November 22, 2026") # of the last change that readers would notice
set(WYX_MAN_FOLDER "${PROJECT_BINARY_DIR}/man")

set(DATE "${WYX_MAN_DATE}")
set(VERSION "${PROJECT_VERSION}")
configure_file("${PROJECT_SOURCE_DIR}/docs/man/wyx-adapter-suite.1.in"
    "${WYX_MAN_FOLDER}/man1/wyx-adapter-suite.1" @ONLY)

find_package(Python3 COMPONENTS Interpreter QUIET)
if(NOT Python3_Interpreter_FOUND)
    message(STATUS "The manual pages are left out: making them needs Python 3")
    return()
endif()

set(page "")
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
endif()
file(GLOB sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/include/wyx_commlib/*.h"
    "${PROJECT_SOURCE_DIR}/platform/*.h" "${PROJECT_SOURCE_DIR}/docs/*.md"
    "${PROJECT_SOURCE_DIR}/docs/modules/*.md" "${PROJECT_SOURCE_DIR}/examples/*.c")
set(stamp "${WYX_MAN_FOLDER}/man3.stamp")
add_custom_command(OUTPUT "${stamp}"
    COMMAND "${Python3_EXECUTABLE}" "${PROJECT_SOURCE_DIR}/scripts/make_man.py"
        --version ${PROJECT_VERSION} --date "${WYX_MAN_DATE}" --output "${WYX_MAN_FOLDER}/man3"
    COMMAND "${CMAKE_COMMAND}" -E touch "${stamp}"
    DEPENDS ${sources} "${PROJECT_SOURCE_DIR}/scripts/make_man.py"
        "${PROJECT_SOURCE_DIR}/scripts/public_headers.py"
    VERBATIM)
add_custom_target(wyx_manuals ALL DEPENDS ${page} "${stamp}")
