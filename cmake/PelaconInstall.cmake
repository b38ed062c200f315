# The installed files, in four components: runtime (the library), dev (headers, CMake and pkg-config files),
# service (the service and the command line), doc.

include(CMakePackageConfigHelpers)

install(TARGETS PelaconSDK EXPORT PelaconSDK
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT runtime NAMELINK_COMPONENT dev
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
install(DIRECTORY include/PelaconSDK DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT dev)
install(EXPORT PelaconSDK FILE PelaconSDKTargets.cmake NAMESPACE Pelacon::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK COMPONENT dev)
configure_package_config_file(cmake/PelaconSDKConfig.cmake.in
    "${PROJECT_BINARY_DIR}/PelaconSDKConfig.cmake"
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
write_basic_package_version_file("${PROJECT_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${PROJECT_BINARY_DIR}/PelaconSDKConfig.cmake"
              "${PROJECT_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK COMPONENT dev)
if(MINGW AND PELACON_DLLTOOL)
    install(FILES "${PELACON_STAGE}/lib/PelaconSDK.def" "${PELACON_STAGE}/lib/PelaconSDK.lib"
            DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT dev)
endif()
if(NOT WIN32)
    # Relative to the file itself, so that the installed tree may be moved.
    set(_pkgconfig "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig")
    file(RELATIVE_PATH PELACON_PC_PREFIX "${_pkgconfig}" "${CMAKE_INSTALL_PREFIX}")
    file(RELATIVE_PATH PELACON_PC_LIBDIR "${_pkgconfig}" "${CMAKE_INSTALL_FULL_LIBDIR}")
    file(RELATIVE_PATH PELACON_PC_INCLUDEDIR "${_pkgconfig}" "${CMAKE_INSTALL_FULL_INCLUDEDIR}")
    configure_file(cmake/PelaconSDK.pc.in "${PROJECT_BINARY_DIR}/PelaconSDK.pc" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/PelaconSDK.pc"
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endif()

if(PELACON_BUILD_SERVICE)
    if(NOT WIN32)
        file(RELATIVE_PATH _library_folder "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
        set_target_properties(pelaconctl PROPERTIES INSTALL_RPATH "$ORIGIN/${_library_folder}")
    endif()
    install(TARGETS PelaconService
            RUNTIME DESTINATION "${PELACON_SERVICE_DESTINATION}" COMPONENT service)
    install(TARGETS pelaconctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT service)
    if(NOT WIN32 AND NOT CMAKE_CROSSCOMPILING)
        install(DIRECTORY "${PELACON_CTL_DOCUMENTS}/man/"
                DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT service)
        install(FILES "${PELACON_CTL_DOCUMENTS}/pelaconctl.bash" RENAME pelaconctl
                DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT service)
        install(FILES "${PELACON_CTL_DOCUMENTS}/_pelaconctl"
                DESTINATION ${CMAKE_INSTALL_DATADIR}/zsh/vendor-completions COMPONENT service)
        install(FILES "${PELACON_CTL_DOCUMENTS}/pelaconctl.fish"
                DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT service)
    endif()
endif()

install(FILES README.md CHANGELOG.md SECURITY.md LICENSE
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)
install(DIRECTORY docs/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/docs COMPONENT doc
        PATTERN doxygen EXCLUDE)
install(DIRECTORY examples DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc)
# The reference, where `scripts/docs <build folder>/docs` has made it.
install(DIRECTORY "${PROJECT_BINARY_DIR}/docs/html" DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT doc
        OPTIONAL)
