# Builds and runs the consumer in one of its ways, or runs the installed tool. CTest runs it as a
# script.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(consumer "${CMAKE_CURRENT_LIST_DIR}/consumer")
set(project "${consumer}")
if(WAY MATCHES "^static")
    set(project "${CMAKE_CURRENT_LIST_DIR}/static_consumer")
endif()
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/run")

if(WAY MATCHES "subdirectory$")
    set(arguments -D "WYX_SOURCE_DIR=${SOURCE_DIR}")
else()
    # Nothing may depend on where the tree was first installed.
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first" --component runtime)
    if(WAY STREQUAL tool)
        set(component tool)
    else()
        set(component development)
    endif()
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first"
        --component ${component})
    set(arguments -D "CMAKE_PREFIX_PATH=${WORK_DIR}/moved")
    if(WAY MATCHES "^static")
        # A request for the archives is refused if they are not installed.
        execute_process(COMMAND ${CMAKE_COMMAND} -S "${project}" -B "${WORK_DIR}/without"
                -G "${GENERATOR}" -D "CMAKE_C_COMPILER=${C_COMPILER}"
                -D "CMAKE_PREFIX_PATH=${WORK_DIR}/first"
            RESULT_VARIABLE rc OUTPUT_QUIET ERROR_VARIABLE message)
        if(rc EQUAL 0 OR NOT message MATCHES "component static is not installed")
            message(FATAL_ERROR "the archives are missing, but the message does not say so: ${message}")
        endif()
        run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first"
            --component static)
    endif()
    file(RENAME "${WORK_DIR}/first" "${WORK_DIR}/moved")
endif()

# check_static(<program>): the program must not need the shared libraries, nor export any of their symbols
function(check_static program)
    execute_process(COMMAND readelf -W -d --dyn-syms "${program}" OUTPUT_VARIABLE dynamic
        COMMAND_ERROR_IS_FATAL ANY)
    if(dynamic MATCHES "XELP_[A-Za-z_0-9]+")
        message(FATAL_ERROR "${program} exports or needs ${CMAKE_MATCH_0}")
    endif()
    if(dynamic MATCHES "libwyx_|libstdc|libc\\+\\+")
        message(FATAL_ERROR "${program} needs a shared library: ${dynamic}")
    endif()
endfunction()

if(WAY STREQUAL find_package)
    # The suite finds the adapter relative to itself.
    execute_process(COMMAND "${WORK_DIR}/moved/${BINDIR}/wyx-adapter-suite" OUTPUT_QUIET
        COMMAND_ERROR_IS_FATAL ANY)
endif()

if(WAY STREQUAL tool)
    unset(ENV{LD_LIBRARY_PATH}) # the tool finds the libraries relative to itself
    run("${WORK_DIR}/moved/${BINDIR}/wyx" --version)
    set(files bash-completion/completions/wyx)
    if(HAS_MANUALS)
        list(APPEND files man/man1/wyx.1)
    endif()
    foreach(file IN LISTS files)
        if(NOT EXISTS "${WORK_DIR}/moved/share/${file}")
            message(FATAL_ERROR "share/${file} is not installed")
        endif()
    endforeach()
elseif(WAY MATCHES "pkg_config$")
    set(ENV{PKG_CONFIG_PATH} "${WORK_DIR}/moved/${PKGCONFIGDIR}")
    set(languages c cpp)
    set(static "")
    if(WAY MATCHES "^static")
        set(static --static)
        set(languages c)
    endif()
    execute_process(COMMAND pkg-config ${static} --cflags --libs wyx_commlib
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    if(static)
        list(APPEND flags -static)
    else()
        set(ENV{LD_LIBRARY_PATH} "${WORK_DIR}/moved/${LIBDIR}")
    endif()
    foreach(language IN LISTS languages)
        set(compiler "${C_COMPILER}")
        if(language STREQUAL cpp)
            set(compiler "${CXX_COMPILER}")
        endif()
        run("${compiler}" -Wall -Wextra -Wpedantic -Werror "${consumer}/consumer.${language}"
            -o "${WORK_DIR}/run/consumer_${language}" ${flags})
        execute_process(COMMAND "${WORK_DIR}/run/consumer_${language}"
            WORKING_DIRECTORY "${WORK_DIR}/run" COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    if(static)
        check_static("${WORK_DIR}/run/consumer_c")
    endif()
else()
    execute_process(COMMAND ${CMAKE_COMMAND} -S "${project}" -B "${WORK_DIR}/build"
            -G "${GENERATOR}" -D "CMAKE_C_COMPILER=${C_COMPILER}"
            -D "CMAKE_CXX_COMPILER=${CXX_COMPILER}" ${arguments}
        ERROR_VARIABLE messages ECHO_ERROR_VARIABLE COMMAND_ERROR_IS_FATAL ANY)
    if(WAY STREQUAL static_subdirectory AND NOT messages MATCHES "link wyx::commlib_static")
        message(FATAL_ERROR "BUILD_SHARED_LIBS=OFF was silently ignored")
    endif()
    run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
    run(${CMAKE_CTEST_COMMAND} --test-dir "${WORK_DIR}/build" --no-tests=error --output-on-failure)
    if(WAY STREQUAL subdirectory)
        run(${CMAKE_COMMAND} --install "${WORK_DIR}/build" --prefix "${WORK_DIR}/installed")
        execute_process(COMMAND "${WORK_DIR}/installed/bin/consumer_c"
            WORKING_DIRECTORY "${WORK_DIR}/run" COMMAND_ERROR_IS_FATAL ANY)
    endif()
    if(WAY MATCHES "^static")
        check_static("${WORK_DIR}/build/consumer_c")
        check_static("${WORK_DIR}/build/libapp.so")
    endif()
endif()
