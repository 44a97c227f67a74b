# Disassembles OBJECT with OBJDUMP and compares each function ...ByLayer with its ...ByCalls. Both
# must make the same calls, so the layer allocates and copies nothing. The layer's CRC must not take
# more instructions; its lookup may take half as many again, since compilers duplicate the branch
# for a null value.
cmake_minimum_required(VERSION 3.25)

execute_process(COMMAND "${OBJDUMP}" -dr --no-show-raw-insn "${OBJECT}"
    OUTPUT_VARIABLE listing COMMAND_ERROR_IS_FATAL ANY)

# read(<function> <variable>): counts the instructions of a function, except padding, in
# <variable>_count, and lists what it calls in <variable>_calls
function(read function variable)
    string(FIND "${listing}" "<${function}>:" start)
    if(start EQUAL -1)
        message(FATAL_ERROR "${OBJECT} has no function ${function}")
    endif()
    string(SUBSTRING "${listing}" ${start} -1 body)
    string(REGEX REPLACE "\n\n.*" "" body "${body}")
    string(REGEX MATCHALL "\n *[0-9a-f]+:[ \t]+(nop|xchg|data16|cs)" padding "${body}")
    string(REGEX MATCHALL "\n *[0-9a-f]+:[ \t]+[a-z]" instructions "${body}")
    string(REGEX MATCHALL "XELP_[A-Za-z0-9_]+|_Z[A-Za-z0-9_]+|mem[a-z]+|str[a-z]+@" calls "${body}")
    list(REMOVE_DUPLICATES calls)
    list(SORT calls)
    list(LENGTH instructions count)
    list(LENGTH padding padded)
    math(EXPR count "${count} - ${padded}")
    set(${variable}_count ${count} PARENT_SCOPE)
    set(${variable}_calls "${calls}" PARENT_SCOPE)
    message(STATUS "${function}: ${count} instructions, calls ${calls}")
endfunction()

foreach(work IN ITEMS Crc Get)
    read(${work}ByLayer layer)
    read(${work}ByCalls calls)
    if(NOT layer_calls STREQUAL calls_calls OR calls_calls STREQUAL "")
        message(FATAL_ERROR "${work}: calls ${layer_calls}, not just ${calls_calls}")
    endif()
    set(most ${calls_count})
    if(work STREQUAL "Get")
        math(EXPR most "${most} * 3 / 2")
    endif()
    if(layer_count GREATER most OR calls_count EQUAL 0)
        message(FATAL_ERROR "${work}: ${layer_count} instructions, not at most ${most}")
    endif()
endforeach()
