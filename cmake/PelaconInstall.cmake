# The installed files: the library with its headers, CMake and pkg-config files, the service
# and the command line.

include(CMakePackageConfigHelpers)

install(TARGETS PelaconSDK EXPORT PelaconSDK
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/PelaconSDK DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT PelaconSDK FILE PelaconSDKTargets.cmake NAMESPACE Pelacon::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
configure_package_config_file(cmake/PelaconSDKConfig.cmake.in
    "${PROJECT_BINARY_DIR}/PelaconSDKConfig.cmake"
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/PelaconSDKConfig.cmake"
              "${PROJECT_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
if(NOT WIN32)
    # Relative to the file itself, so that the installed tree may be moved.
    set(_pkgconfig "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH PELACON_PC_LIBDIR "${_pkgconfig}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    file(RELATIVE_PATH PELACON_PC_INCLUDEDIR "${_pkgconfig}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
    configure_file(cmake/PelaconSDK.pc.in "${PROJECT_BINARY_DIR}/PelaconSDK.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/PelaconSDK.pc"
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

if(PELACON_BUILD_SERVICE)
    if(NOT WIN32)
        file(RELATIVE_PATH _library_folder "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(pelaconctl PROPERTIES INSTALL_RPATH "$ORIGIN/${_library_folder}")
    endif()
    install(TARGETS PelaconService RUNTIME DESTINATION "${PELACON_SERVICE_DESTINATION}")
    install(TARGETS pelaconctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
