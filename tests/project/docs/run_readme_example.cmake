# Runs PROGRAM in FOLDER on the file it expects and on a malformed file, and checks what it prints and what
# it leaves.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE "${FOLDER}")
file(WRITE "${FOLDER}/net.ini" "# of the client\n[net]\nport = 5060 ;sip\nhost = example.net\n")
list(REMOVE_ITEM PROGRAM "")
execute_process(COMMAND ${PROGRAM} WORKING_DIRECTORY "${FOLDER}"
    RESULT_VARIABLE result OUTPUT_VARIABLE output)
file(READ "${FOLDER}/net.ini" content)
file(GLOB left RELATIVE "${FOLDER}" "${FOLDER}/*")

if(NOT result EQUAL 0 OR NOT output STREQUAL "port 5060\n")
    message(FATAL_ERROR "ended with ${result} and printed: ${output}")
endif()
if(NOT content STREQUAL "# of the client\n[net]\nport=5061 ;sip\nhost = example.net\n")
    message(FATAL_ERROR "left this file: ${content}")
endif()
if(NOT left STREQUAL "net.ini")
    message(FATAL_ERROR "left these files: ${left}")
endif()

# A line without "=" before the key: nothing is saved, and the program says so by its exit code.
file(WRITE "${FOLDER}/net.ini" "[net]\nz\n")
execute_process(COMMAND ${PROGRAM} WORKING_DIRECTORY "${FOLDER}" RESULT_VARIABLE result)
file(READ "${FOLDER}/net.ini" content)
if(result EQUAL 0 OR NOT content STREQUAL "[net]\nz\n")
    message(FATAL_ERROR "a malformed file: ended with ${result} and left: ${content}")
endif()
