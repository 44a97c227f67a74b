# CPack runs this on the packages that it has made. It adds the field Multi-Arch, and removes the scripts
# that would call ldconfig: a trigger does that already.
if(NOT CPACK_GENERATOR STREQUAL "DEB")
    return()
endif()

foreach(package IN LISTS CPACK_PACKAGE_FILES)
    set(root "${package}.root")
    execute_process(COMMAND dpkg-deb --raw-extract "${package}" "${root}" COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE "${root}/DEBIAN/postinst" "${root}/DEBIAN/postrm")
    file(READ "${root}/DEBIAN/control" control)
    foreach(entry IN LISTS CPACK_WYX_MULTI_ARCH)
        string(REPLACE "=" ";" entry "${entry}")
        list(POP_FRONT entry name kind)
        string(REGEX REPLACE "(^|\n)(Package: ${name}\n)" "\\1\\2Multi-Arch: ${kind}\n"
            control "${control}")
    endforeach()
    file(WRITE "${root}/DEBIAN/control" "${control}")
    execute_process(COMMAND dpkg-deb --root-owner-group -Zxz --build "${root}" "${package}"
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE "${root}")
endforeach()
