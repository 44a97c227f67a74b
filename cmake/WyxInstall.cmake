# Installation: the two libraries for CMake and pkg-config users, headers, tool and documentation.
# Each installed file finds the others relative to itself, so the tree can be moved.
include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

set(WYX_INSTALL_CMAKEDIR "${CMAKE_INSTALL_LIBDIR}/cmake/wyx_commlib" CACHE STRING
    "Folder of the CMake package, below the prefix")
set(WYX_INSTALL_PKGCONFIGDIR "${CMAKE_INSTALL_LIBDIR}/pkgconfig" CACHE STRING
    "Folder of the pkg-config files, below the prefix")

# With a client's own adapter, the installed wyx::os_adapter and the pkg-config file of that name bring
# only the headers: the client's users link the adapter itself.
if(WYX_OS_ADAPTER)
    set(adapter wyx_client_adapter)
    set(WYX_PC_ADAPTER_LIBS "")
else()
    set(adapter wyx_os_adapter)
    set(WYX_PC_ADAPTER_LIBS "-L\${libdir} -lwyx_os_adapter")
endif()
set_target_properties(wyx_commlib PROPERTIES EXPORT_NAME commlib)
set_target_properties(${adapter} PROPERTIES EXPORT_NAME os_adapter)
set_target_properties(wyx_platform_headers PROPERTIES EXPORT_NAME platform_headers)

install(TARGETS wyx_commlib ${adapter} wyx_platform_headers EXPORT wyx_commlib
    LIBRARY DESTINATION "${CMAKE_INSTALL_LIBDIR}"
    COMPONENT runtime NAMELINK_COMPONENT development)
install(DIRECTORY "${PROJECT_SOURCE_DIR}/include/wyx_commlib"
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT development
    FILES_MATCHING PATTERN "*.h" PATTERN "*.hpp")
set(platform_headers os_adapter.h bounded.h)
if(WYX_OS_ADAPTER_ACCOUNTING)
    list(APPEND platform_headers mem_accounting.h)
endif()
list(TRANSFORM platform_headers PREPEND "${PROJECT_SOURCE_DIR}/platform/")
install(FILES ${platform_headers}
    DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}/wyx_os_adapter" COMPONENT development)

install(EXPORT wyx_commlib NAMESPACE wyx:: FILE wyx_commlib-targets.cmake
    DESTINATION "${WYX_INSTALL_CMAKEDIR}" COMPONENT development)
# The archives, for users who ask for them: find_package(wyx_commlib COMPONENTS static).
set(archives wyx_commlib_static)
set_target_properties(wyx_commlib_static PROPERTIES EXPORT_NAME commlib_static)
if(TARGET wyx_os_adapter_static)
    list(APPEND archives wyx_os_adapter_static)
    set_target_properties(wyx_os_adapter_static PROPERTIES EXPORT_NAME os_adapter_static)
endif()
install(TARGETS ${archives} EXPORT wyx_commlib_static
    ARCHIVE DESTINATION "${CMAKE_INSTALL_LIBDIR}" COMPONENT static)
install(EXPORT wyx_commlib_static NAMESPACE wyx:: FILE wyx_commlib-static-targets.cmake
    DESTINATION "${WYX_INSTALL_CMAKEDIR}" COMPONENT static)
configure_package_config_file("${CMAKE_CURRENT_LIST_DIR}/wyx_commlib-config.cmake.in"
    "${PROJECT_BINARY_DIR}/wyx_commlib-config.cmake"
    INSTALL_DESTINATION "${WYX_INSTALL_CMAKEDIR}"
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/wyx_commlib-config-version.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES
    "${PROJECT_BINARY_DIR}/wyx_commlib-config.cmake"
    "${PROJECT_BINARY_DIR}/wyx_commlib-config-version.cmake"
    DESTINATION "${WYX_INSTALL_CMAKEDIR}" COMPONENT development)

# The relative path from the pkg-config files to the prefix.
file(RELATIVE_PATH WYX_PC_TO_PREFIX "/${WYX_INSTALL_PKGCONFIGDIR}" "/")
string(REGEX REPLACE "/$" "" WYX_PC_TO_PREFIX "${WYX_PC_TO_PREFIX}")
foreach(library wyx_commlib wyx_os_adapter)
    configure_file("${CMAKE_CURRENT_LIST_DIR}/${library}.pc.in"
                   "${PROJECT_BINARY_DIR}/${library}.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/${library}.pc"
        DESTINATION "${WYX_INSTALL_PKGCONFIGDIR}" COMPONENT development)
endforeach()

include(WyxManuals)
if(TARGET wyx_manuals)
    install(DIRECTORY "${WYX_MAN_FOLDER}/man3" DESTINATION "${CMAKE_INSTALL_MANDIR}"
        COMPONENT development)
endif()

# The programs find the libraries relative to themselves, too.
file(RELATIVE_PATH from_bin_to_lib "/${CMAKE_INSTALL_BINDIR}" "/${CMAKE_INSTALL_LIBDIR}")
if(TARGET wyx_adapter_suite)
    set_target_properties(wyx_adapter_suite PROPERTIES INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
    install(TARGETS wyx_adapter_suite RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}"
        COMPONENT development)
    install(FILES "${WYX_MAN_FOLDER}/man1/wyx-adapter-suite.1"
        DESTINATION "${CMAKE_INSTALL_MANDIR}/man1" COMPONENT development)
endif()
if(TARGET wyx)
    set_target_properties(wyx PROPERTIES INSTALL_RPATH "$ORIGIN/${from_bin_to_lib}")
    install(TARGETS wyx RUNTIME DESTINATION "${CMAKE_INSTALL_BINDIR}" COMPONENT tool)
    if(TARGET wyx_manuals)
        install(FILES "${WYX_MAN_FOLDER}/man1/wyx.1" DESTINATION "${CMAKE_INSTALL_MANDIR}/man1"
            COMPONENT tool)
    endif()
    set(completions "${PROJECT_SOURCE_DIR}/tools/wyx/completions")
    install(FILES "${completions}/wyx.bash" RENAME wyx
        DESTINATION "${CMAKE_INSTALL_DATADIR}/bash-completion/completions" COMPONENT tool)
    install(FILES "${completions}/_wyx"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions" COMPONENT tool)
    install(FILES "${completions}/wyx.fish"
        DESTINATION "${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d" COMPONENT tool)
endif()
