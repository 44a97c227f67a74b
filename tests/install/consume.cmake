# Builds and runs the consumer in one of the three ways, or runs the installed tool. Run as a script
# by CTest.
cmake_minimum_required(VERSION 3.25)

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(consumer "${CMAKE_CURRENT_LIST_DIR}/consumer")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}/run")

if(WAY STREQUAL subdirectory)
    set(arguments -D "WYX_SOURCE_DIR=${SOURCE_DIR}")
else()
    # Nothing may depend on where the tree was installed first.
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first" --component runtime)
    if(WAY STREQUAL tool)
        set(component tool)
    else()
        set(component development)
    endif()
    run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${WORK_DIR}/first"
        --component ${component})
    file(RENAME "${WORK_DIR}/first" "${WORK_DIR}/moved")
    set(arguments -D "CMAKE_PREFIX_PATH=${WORK_DIR}/moved")
endif()

if(WAY STREQUAL tool)
    unset(ENV{LD_LIBRARY_PATH}) # it finds the libraries by its own place
    run("${WORK_DIR}/moved/${BINDIR}/wyx" --version)
    foreach(file man/man1/wyx.1 bash-completion/completions/wyx)
        if(NOT EXISTS "${WORK_DIR}/moved/share/${file}")
            message(FATAL_ERROR "share/${file} is not installed")
        endif()
    endforeach()
elseif(WAY STREQUAL pkg_config)
    set(ENV{PKG_CONFIG_PATH} "${WORK_DIR}/moved/${PKGCONFIGDIR}")
    execute_process(COMMAND pkg-config --cflags --libs wyx_commlib
        OUTPUT_VARIABLE flags OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
    separate_arguments(flags UNIX_COMMAND "${flags}")
    set(ENV{LD_LIBRARY_PATH} "${WORK_DIR}/moved/${LIBDIR}")
    foreach(language c cpp)
        set(compiler "${C_COMPILER}")
        if(language STREQUAL cpp)
            set(compiler "${CXX_COMPILER}")
        endif()
        run("${compiler}" -Wall -Wextra -Wpedantic -Werror "${consumer}/consumer.${language}"
            -o "${WORK_DIR}/run/consumer_${language}" ${flags})
        execute_process(COMMAND "${WORK_DIR}/run/consumer_${language}"
            WORKING_DIRECTORY "${WORK_DIR}/run" COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
else()
    run(${CMAKE_COMMAND} -S "${consumer}" -B "${WORK_DIR}/build" -G "${GENERATOR}"
        -D "CMAKE_C_COMPILER=${C_COMPILER}" -D "CMAKE_CXX_COMPILER=${CXX_COMPILER}" ${arguments})
    run(${CMAKE_COMMAND} --build "${WORK_DIR}/build")
    run(${CMAKE_CTEST_COMMAND} --test-dir "${WORK_DIR}/build" --no-tests=error --output-on-failure)
endif()
