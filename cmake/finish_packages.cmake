# CPack runs this on the installed files before it packs them. It splits off the debug information,
# names the prefix in the pkg-config files, adds copyright and changelog, and compresses the manual
# pages. Timestamps inside files are SOURCE_DATE_EPOCH if that is set; CPack sets those of the files
# themselves.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

function(run)
    execute_process(COMMAND ${ARGV} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

# split(<file> <component>): moves the debug information of a library or program to the component's
# package, under the file's build-id
function(split binary component)
    execute_process(COMMAND "${CMAKE_COMMAND}" -E env LC_ALL=C readelf --notes "${binary}"
        OUTPUT_VARIABLE notes COMMAND_ERROR_IS_FATAL ANY)
    if(NOT notes MATCHES "Build ID: ([0-9a-f][0-9a-f])([0-9a-f]+)")
        message(FATAL_ERROR "${binary} has no build-id")
    endif()
    set(folder "${CPACK_TEMPORARY_DIRECTORY}/${component}/usr/lib/debug/.build-id/${CMAKE_MATCH_1}")
    set(file "${folder}/${CMAKE_MATCH_2}.debug")
    file(MAKE_DIRECTORY "${folder}")
    run(objcopy --only-keep-debug --compress-debug-sections "${binary}" "${file}")
    run(chmod 644 "${file}")
    run(strip --strip-unneeded --remove-section=.comment "${binary}")
endfunction()

file(GLOB_RECURSE libraries "${CPACK_TEMPORARY_DIRECTORY}/runtime/*.so.*")
foreach(library IN LISTS libraries)
    if(NOT IS_SYMLINK "${library}")
        split("${library}" debug)
    endif()
endforeach()
file(GLOB_RECURSE archives "${CPACK_TEMPORARY_DIRECTORY}/static/*.a")
foreach(archive IN LISTS archives)
    run(strip --strip-debug --remove-section=.comment --enable-deterministic-archives "${archive}")
endforeach()
file(GLOB_RECURSE modules "${CPACK_TEMPORARY_DIRECTORY}/development/*.pc")
foreach(module IN LISTS modules)
    file(READ "${module}" text)
    string(REGEX REPLACE "^prefix=[^\n]*" "prefix=/usr" text "${text}") # a package stays where it is
    file(WRITE "${module}" "${text}")
endforeach()
if(EXISTS "${CPACK_TEMPORARY_DIRECTORY}/development/usr/bin/wyx-adapter-suite")
    run(strip --strip-unneeded --remove-section=.comment
        "${CPACK_TEMPORARY_DIRECTORY}/development/usr/bin/wyx-adapter-suite")
endif()
if(EXISTS "${CPACK_TEMPORARY_DIRECTORY}/tool/usr/bin/wyx")
    split("${CPACK_TEMPORARY_DIRECTORY}/tool/usr/bin/wyx" tool_debug)
endif()

if(DEFINED ENV{SOURCE_DATE_EPOCH})
    set(time "@$ENV{SOURCE_DATE_EPOCH}")
else()
    set(time now)
endif()
execute_process(COMMAND date --utc --rfc-email "--date=${time}" OUTPUT_VARIABLE date
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)

set(licence "This package was made from the sources of libwyx_commlib, which state no licence.\n")
if(EXISTS "${CPACK_WYX_SOURCE_DIR}/LICENSE")
    file(READ "${CPACK_WYX_SOURCE_DIR}/LICENSE" licence)
endif()

foreach(entry IN LISTS CPACK_WYX_PACKAGES)
    string(REPLACE "=" ";" entry "${entry}")
    list(POP_FRONT entry component package)
    set(root "${CPACK_TEMPORARY_DIRECTORY}/${component}")
    if(NOT IS_DIRECTORY "${root}")
        continue()
    endif()

    set(doc "${root}/usr/share/doc/${package}")
    file(MAKE_DIRECTORY "${doc}")
    file(WRITE "${doc}/copyright" "libwyx_commlib ${CPACK_PACKAGE_VERSION}\n\n${licence}")
    configure_file("${CPACK_WYX_SOURCE_DIR}/CHANGELOG.md" "${doc}/changelog" COPYONLY)
    file(WRITE "${doc}/changelog.Debian"
        "wyx-commlib (${CPACK_PACKAGE_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}) unstable; "
        "urgency=medium\n\n  * Version ${CPACK_PACKAGE_VERSION}: see changelog.gz.\n\n"
        " -- ${CPACK_PACKAGE_CONTACT}  ${date}\n")
    run(gzip -9n "${doc}/changelog" "${doc}/changelog.Debian")

    file(GLOB_RECURSE pages "${root}/usr/share/man/*")
    foreach(page IN LISTS pages)
        if(IS_SYMLINK "${page}")
            file(READ_SYMLINK "${page}" target)
            file(CREATE_LINK "${target}.gz" "${page}.gz" SYMBOLIC)
            file(REMOVE "${page}")
        else()
            run(gzip -9n "${page}")
        endif()
    endforeach()

    run(chmod -R u=rwX,go=rX "${root}")
endforeach()
