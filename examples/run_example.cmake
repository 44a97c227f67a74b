# Runs an example: COMMAND with INPUT as its standard input, and a copy of ARGUMENT in FOLDER as its
# argument, must succeed and print OUTPUT.
cmake_minimum_required(VERSION 3.25)

if(INPUT)
    set(redirection INPUT_FILE "${INPUT}")
endif()
list(REMOVE_ITEM COMMAND "")
if(ARGUMENT)
    file(REMOVE_RECURSE "${FOLDER}")
    file(COPY "${ARGUMENT}" DESTINATION "${FOLDER}")
    cmake_path(GET ARGUMENT FILENAME name)
    list(APPEND COMMAND "${FOLDER}/${name}")
endif()
execute_process(COMMAND ${COMMAND} ${redirection}
    RESULT_VARIABLE result OUTPUT_VARIABLE output ECHO_OUTPUT_VARIABLE)
if(NOT result EQUAL 0)
    message(FATAL_ERROR "ended with ${result}")
endif()
if(OUTPUT AND NOT output MATCHES "${OUTPUT}")
    message(FATAL_ERROR "printed something other than ${OUTPUT}")
endif()
