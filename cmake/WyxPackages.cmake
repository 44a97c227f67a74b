# Debian packages: the libraries, what is needed to build with them, the tool, and the debug
# information of libraries and tool. scripts/package.sh makes them and the source archive.
include_guard(GLOBAL)

set(WYX_PACKAGE_CONTACT "libwyx_commlib maintainers <libwyx_commlib@packages.invalid>" CACHE STRING
    "Maintainer of the packages: a name and a mail address")
set(CPACK_PACKAGE_NAME "${PROJECT_NAME}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_VENDOR "libwyx_commlib")
set(CPACK_PACKAGE_CONTACT "${WYX_PACKAGE_CONTACT}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package has its own
set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development static debug)
if(TARGET wyx)
    list(APPEND CPACK_COMPONENTS_ALL tool tool_debug)
endif()
# Folder permissions do not depend on the umask.
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 0wyx1) # older than a package of Debian for this version
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(same_version "(= ${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE})")

set(library libwyx-commlib${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SHLIBDEPS ON)
set(control "${PROJECT_BINARY_DIR}/debian")
file(WRITE "${control}/triggers" "activate-noawait ldconfig\n")
# A program that uses the library depends on the version that it was linked with, or a later one.
set(shlibs "")
set(symbols "")
foreach(target IN ITEMS wyx_commlib wyx_os_adapter)
    if(NOT TARGET ${target})
        continue() # a client's own adapter
    endif()
    string(APPEND shlibs "lib${target} ${PROJECT_VERSION_MAJOR} ${library} (>= ${PROJECT_VERSION})\n")
    string(APPEND symbols "lib${target}.so.${PROJECT_VERSION_MAJOR} ${library} #MINVER#\n"
        "* Build-Depends-Package: libwyx-commlib-dev\n")
    get_target_property(lists ${target} WYX_EXPORTS)
    foreach(list IN LISTS lists)
        file(STRINGS "${list}" names)
        list(TRANSFORM names REPLACE "(.+)" " \\1@Base ${PROJECT_VERSION}\n" OUTPUT_VARIABLE lines)
        string(APPEND symbols ${lines})
    endforeach()
endforeach()
file(WRITE "${control}/shlibs" "${shlibs}")
file(WRITE "${control}/symbols" "${symbols}")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${control}/triggers;${control}/shlibs;${control}/symbols")
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION
    "checksums, containers, INI files, addresses and Base64 for C\n\
The library computes CRC and MD5, keeps lists and hash tables, reads and edits\n\
INI files, parses IP addresses and converts Base64. Its platform adapter, which\n\
allocates memory and accesses files, is included and can be replaced.")

# The debug information goes where debuggers look for it by build-id; the script below moves it.
install(DIRECTORY DESTINATION "lib/debug/.build-id" COMPONENT debug EXCLUDE_FROM_ALL)
set(CPACK_DEBIAN_DEBUG_PACKAGE_NAME ${library}-dbgsym)
set(CPACK_DEBIAN_DEBUG_PACKAGE_SECTION debug)
set(CPACK_DEBIAN_DEBUG_PACKAGE_DEPENDS "${library} ${same_version}")
set(CPACK_COMPONENT_DEBUG_DESCRIPTION
    "debug symbols for ${library}\n\
What debuggers and profilers need to show the names and source lines of the\n\
library and of its platform adapter. They find it by the build-id.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libwyx-commlib-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} ${same_version}")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
    "checksums, containers, INI files, addresses and Base64 for C (headers)\n\
What is needed for building programs with libwyx_commlib: headers, files for\n\
CMake and pkg-config, the manual pages of the calls, and a program that tests\n\
adapters.")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SHLIBDEPS ON)

set(CPACK_DEBIAN_STATIC_PACKAGE_NAME libwyx-commlib-static)
set(CPACK_DEBIAN_STATIC_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_STATIC_PACKAGE_DEPENDS "libwyx-commlib-dev ${same_version}")
set(CPACK_COMPONENT_STATIC_DESCRIPTION
    "checksums, containers, INI files, addresses and Base64 for C (archives)\n\
The library and its default platform adapter, for a program that contains both\n\
and needs no shared library of this project.")

set(CPACK_DEBIAN_TOOL_PACKAGE_NAME wyx)
set(CPACK_DEBIAN_TOOL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOL_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_TOOL_PACKAGE_DEPENDS "${library} ${same_version}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PROJECT_BINARY_DIR}/lib")
set(CPACK_COMPONENT_TOOL_DESCRIPTION
    "checksums, INI files, addresses and Base64 from the command line\n\
Computes and verifies checksums of files, reads and edits INI files, converts\n\
Base64, and explains addresses.")

install(DIRECTORY DESTINATION "lib/debug/.build-id" COMPONENT tool_debug EXCLUDE_FROM_ALL)
set(CPACK_DEBIAN_TOOL_DEBUG_PACKAGE_NAME wyx-dbgsym)
set(CPACK_DEBIAN_TOOL_DEBUG_PACKAGE_SECTION debug)
set(CPACK_DEBIAN_TOOL_DEBUG_PACKAGE_DEPENDS "wyx ${same_version}")
set(CPACK_COMPONENT_TOOL_DEBUG_DESCRIPTION
    "debug symbols for wyx\n\
What debuggers and profilers need to show the names and source lines of the\n\
command-line tool. They find it by the build-id.")

# Adds the files that every Debian package has in addition to the installed ones.
set(CPACK_PRE_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/finish_packages.cmake")
set(CPACK_WYX_SOURCE_DIR "${PROJECT_SOURCE_DIR}")
set(CPACK_WYX_PACKAGES
    "runtime=${library};development=libwyx-commlib-dev;static=libwyx-commlib-static;debug=${library}-dbgsym;tool=wyx;tool_debug=wyx-dbgsym")

# Sets what CPack has no variable for. libwyx-commlib-dev gets no Multi-Arch field: it contains a
# program, which differs between processors.
set(CPACK_POST_BUILD_SCRIPTS "${PROJECT_SOURCE_DIR}/cmake/correct_packages.cmake")
set(CPACK_WYX_MULTI_ARCH
    "${library}=same;libwyx-commlib-static=same;${library}-dbgsym=same;wyx=foreign")

# The target package_source; scripts/package.sh makes the source archive without it.
set(CPACK_SOURCE_GENERATOR TXZ)
set(CPACK_SOURCE_PACKAGE_FILE_NAME "libwyx_commlib-${PROJECT_VERSION}")
set(CPACK_SOURCE_IGNORE_FILES "/\\\\.git(/|$);^${PROJECT_SOURCE_DIR}/build/")

include(CPack)
