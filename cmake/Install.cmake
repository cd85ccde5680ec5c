# Three components: `runtime` is what a program needs that was built with the library,
# `development` what building one needs, `programs` what users start.
include(CMakePackageConfigHelpers)

set(cirrus_config_folder ${CMAKE_INSTALL_LIBDIR}/cmake/Cirrus)

install(TARGETS Cirrus EXPORT CirrusTargets
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    RUNTIME COMPONENT runtime
    ARCHIVE COMPONENT development
    FILE_SET HEADERS COMPONENT development)
install(EXPORT CirrusTargets NAMESPACE Cirrus::
    DESTINATION ${cirrus_config_folder} COMPONENT development)

if(CIRRUS_INSTALL_STATIC)
    install(TARGETS cirrus_internal EXPORT CirrusStaticTargets
        ARCHIVE COMPONENT development
        FILE_SET HEADERS COMPONENT development)
    install(EXPORT CirrusStaticTargets NAMESPACE Cirrus::
        DESTINATION ${cirrus_config_folder} COMPONENT development)
endif()

if(CIRRUS_BUILD_EMULATOR)
    install(TARGETS cirrus_emulator cirrus_local_drive EXPORT CirrusEmulatorTargets
        ARCHIVE COMPONENT development
        FILE_SET HEADERS COMPONENT development)
    install(EXPORT CirrusEmulatorTargets NAMESPACE Cirrus::
        DESTINATION ${cirrus_config_folder} COMPONENT development)
endif()

foreach(program cirrus-share cirrus-desktop cirrus-drive-emulator)
    if(TARGET ${program})
        install(TARGETS ${program} RUNTIME COMPONENT programs)
        install(FILES docs/man/${program}.1
            DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT programs)
    endif()
endforeach()

configure_package_config_file(cmake/CirrusConfig.cmake.in CirrusConfig.cmake
    INSTALL_DESTINATION ${cirrus_config_folder}
    NO_SET_AND_CHECK_MACRO)
write_basic_package_version_file(CirrusConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/CirrusConfig.cmake ${PROJECT_BINARY_DIR}/CirrusConfigVersion.cmake
    DESTINATION ${cirrus_config_folder} COMPONENT development)

# Found beside the file itself, so that an installation may be moved.
file(RELATIVE_PATH cirrus_prefix_from_pc
    /${CMAKE_INSTALL_LIBDIR}/pkgconfig /)
set(cirrus_pc_files cirrus.pc)
if(WIN32)
    set(cirrus_pc_definitions " -DCIRRUS_EXPORT=")
endif()
if(CIRRUS_BUILD_EMULATOR)
    list(APPEND cirrus_pc_files cirrus-emulator.pc)
endif()
foreach(pc IN LISTS cirrus_pc_files)
    configure_file(cmake/${pc}.in ${pc} @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${pc}
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
endforeach()
