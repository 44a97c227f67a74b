# Builds against musl with Debian's packages: clang and the headers of libc++ for the libraries,
# which need no other part of a C++ library, and musl-gcc for C programs and for linking.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR x86_64)
set(CMAKE_CROSSCOMPILING_EMULATOR /lib/ld-musl-x86_64.so.1) # a program only needs its own loader
set(CMAKE_C_COMPILER musl-gcc)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_CXX_COMPILER_TARGET x86_64-linux-musl)

execute_process(COMMAND clang++ -print-resource-dir OUTPUT_VARIABLE resources
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
cmake_path(SET libcxx NORMALIZE "${resources}/../../../include/c++/v1")
add_compile_options("$<$<COMPILE_LANGUAGE:CXX>:SHELL:-nostdinc++ -nostdlibinc -isystem ${libcxx}>"
    "$<$<COMPILE_LANGUAGE:CXX>:SHELL:-isystem /usr/include/x86_64-linux-musl>")
# Clang would link with glibc and its start files.
set(CMAKE_CXX_LINK_EXECUTABLE
    "<CMAKE_C_COMPILER> <CMAKE_CXX_LINK_FLAGS> <LINK_FLAGS> <OBJECTS> -o <TARGET> <LINK_LIBRARIES>")
set(CMAKE_CXX_CREATE_SHARED_LIBRARY
    "<CMAKE_C_COMPILER> <CMAKE_SHARED_LIBRARY_CXX_FLAGS> <LINK_FLAGS> \
<CMAKE_SHARED_LIBRARY_CREATE_CXX_FLAGS> <SONAME_FLAG><TARGET_SONAME> -o <TARGET> <OBJECTS> \
<LINK_LIBRARIES>")
