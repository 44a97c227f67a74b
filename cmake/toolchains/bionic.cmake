# Replaces the NDK's toolchain file: uses Debian's clang and lld with the files that
# scripts/bionic_sysroot.py laid out. Of the NDK's variables it knows only those that the presets set.
set(CMAKE_SYSTEM_NAME Android)
set(CMAKE_SYSTEM_VERSION 1) # keeps CMake from looking for an NDK
if(ANDROID_ABI STREQUAL "arm64-v8a")
    set(CMAKE_SYSTEM_PROCESSOR aarch64)
elseif(ANDROID_ABI STREQUAL "x86_64")
    set(CMAKE_SYSTEM_PROCESSOR x86_64)
else()
    message(FATAL_ERROR "ANDROID_ABI is ${ANDROID_ABI}: only arm64-v8a and x86_64 are laid out")
endif()
if(NOT ANDROID_PLATFORM STREQUAL "android-24" OR NOT ANDROID_STL STREQUAL "none")
    message(FATAL_ERROR "ANDROID_PLATFORM must be android-24, and ANDROID_STL none")
endif()
list(APPEND CMAKE_TRY_COMPILE_PLATFORM_VARIABLES ANDROID_ABI ANDROID_PLATFORM ANDROID_STL)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY) # programs cannot be linked

set(CMAKE_SYSROOT "$ENV{ANDROID_NDK_HOME}/sysroot")
foreach(language C CXX)
    set(CMAKE_${language}_COMPILER_TARGET ${CMAKE_SYSTEM_PROCESSOR}-linux-android24)
endforeach()
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
# Like the NDK, without the C++ library. The build-id is of lld's default kind, unless the build names
# another kind.
add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-nostdinc++>)
set(CMAKE_SHARED_LINKER_FLAGS_INIT
    "-fuse-ld=lld -nostdlib++ -rtlib=libgcc --unwindlib=none -Wl,--build-id")
