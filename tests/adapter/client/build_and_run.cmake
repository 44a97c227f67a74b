# Builds the library on a client's own adapter, named as a target and as a file, and runs the client:
# cmake -DPROJECT_FOLDER=... -DBUILD_FOLDER=... -DGENERATOR=... -DC_COMPILER=... -DCXX_COMPILER=...
#       -P build_and_run.cmake
set(configure "${CMAKE_COMMAND}" -G "${GENERATOR}" -DCMAKE_BUILD_TYPE=Release
    "-DCMAKE_C_COMPILER=${C_COMPILER}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}")

function(run)
    execute_process(COMMAND ${ARGV} OUTPUT_VARIABLE output ERROR_VARIABLE output RESULT_VARIABLE rc)
    if(NOT rc EQUAL 0)
        list(JOIN ARGV " " command)
        message(FATAL_ERROR "${command}: ${rc}\n${output}")
    endif()
    set(output "${output}" PARENT_SCOPE)
endfunction()

function(run_client)
    run(${ARGV})
    if(NOT output STREQUAL "client: passed\nclient adapter: 0 blocks held\n")
        message(FATAL_ERROR "${output}")
    endif()
endfunction()

file(REMOVE_RECURSE "${BUILD_FOLDER}")
file(MAKE_DIRECTORY "${BUILD_FOLDER}")

# A static adapter must be refused: its services would be resolved inside the library.
file(TOUCH "${BUILD_FOLDER}/libclient_adapter.a")
execute_process(
    COMMAND ${configure} -S "${PROJECT_FOLDER}" -B "${BUILD_FOLDER}/static"
            "-DWYX_OS_ADAPTER=${BUILD_FOLDER}/libclient_adapter.a"
    OUTPUT_QUIET ERROR_VARIABLE message RESULT_VARIABLE rc)
if(rc EQUAL 0 OR NOT message MATCHES "must be a shared library")
    message(FATAL_ERROR "a static adapter was accepted, or refused for another reason: ${message}")
endif()

# The library as part of the client's project; the adapter is a target of that project.
set(part "${BUILD_FOLDER}/part")
run(${configure} -S "${CMAKE_CURRENT_LIST_DIR}" -B "${part}")
run("${CMAKE_COMMAND}" --build "${part}")
run_client("${part}/client")

# The library by itself; the adapter is a file. The same client runs on it.
set(alone "${BUILD_FOLDER}/alone")
run(${configure} -S "${PROJECT_FOLDER}" -B "${alone}"
    "-DWYX_OS_ADAPTER=${part}/libclient_adapter.so"
    -DWYX_BUILD_TESTS=OFF -DWYX_BUILD_EXAMPLES=OFF -DWYX_BUILD_TOOL=OFF)
run("${CMAKE_COMMAND}" --build "${alone}")
run("${CMAKE_COMMAND}" -E rm "${part}/wyx_commlib/lib/libwyx_commlib.so.1")
run_client("${CMAKE_COMMAND}" -E env "LD_LIBRARY_PATH=${alone}/lib" "${part}/client")

# That library installed: pkg-config names no adapter, and the client links its own.
set(prefix "${BUILD_FOLDER}/prefix")
run("${CMAKE_COMMAND}" --install "${alone}" --prefix "${prefix}")
file(GLOB_RECURSE modules "${prefix}/wyx_commlib.pc")
get_filename_component(modules "${modules}" DIRECTORY)
run("${CMAKE_COMMAND}" -E env "PKG_CONFIG_PATH=${modules}" pkg-config --cflags --libs wyx_commlib)
separate_arguments(flags UNIX_COMMAND "${output}")
get_filename_component(libraries "${modules}" DIRECTORY)
run("${C_COMPILER}" "${CMAKE_CURRENT_LIST_DIR}/client.c" -o "${prefix}/client" ${flags}
    "${part}/libclient_adapter.so" "-Wl,-rpath,${part}:${libraries}")
run_client("${prefix}/client")
file(GLOB_RECURSE default_adapter "${BUILD_FOLDER}/*/libwyx_os_adapter*")
if(default_adapter)
    message(FATAL_ERROR "the default adapter was built: ${default_adapter}")
endif()
