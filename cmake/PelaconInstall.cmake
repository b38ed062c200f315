# The installed files: the library with its headers, CMake and pkg-config files, the service
# and the command line.

include(CMakePackageConfigHelpers)

string(REPLACE "\\" "/" _service_path "${PELACON_SERVICE_PATH}")
string(FIND "${_service_path}" "${CMAKE_BINARY_DIR}/" _in_build_tree)
if(NOT _in_build_tree EQUAL -1)
    install(CODE "message(FATAL_ERROR \"This build expects the service in its own build tree \
(it was configured with tests). Configure with -DPELACON_BUILD_TESTS=OFF to install it.\")")
endif()

install(TARGETS PelaconSDK EXPORT PelaconSDK
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR}
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(DIRECTORY include/PelaconSDK DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(EXPORT PelaconSDK FILE PelaconSDKTargets.cmake NAMESPACE Pelacon::
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
configure_package_config_file(cmake/PelaconSDKConfig.cmake.in
    "${CMAKE_BINARY_DIR}/PelaconSDKConfig.cmake"
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
write_basic_package_version_file("${CMAKE_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(FILES "${CMAKE_BINARY_DIR}/PelaconSDKConfig.cmake"
              "${CMAKE_BINARY_DIR}/PelaconSDKConfigVersion.cmake"
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/PelaconSDK)
if(NOT WIN32)
    configure_file(cmake/PelaconSDK.pc.in "${CMAKE_BINARY_DIR}/PelaconSDK.pc" @ONLY)
    install(FILES "${CMAKE_BINARY_DIR}/PelaconSDK.pc"
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endif()

if(PELACON_BUILD_SERVICE)
    cmake_path(GET PELACON_SERVICE_PATH PARENT_PATH _service_folder)
    install(TARGETS PelaconService RUNTIME DESTINATION "${_service_folder}")
    install(TARGETS pelaconctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
endif()
