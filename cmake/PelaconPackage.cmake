# Debian's packages: one for each component of the installation. scripts/package builds them, with the prefix
# /usr; only there the files are installed that belong in the system's folders.

set(CPACK_PACKAGE_NAME pelaconsdk)
set(CPACK_PACKAGE_VENDOR "The PelaconSDK maintainers")
set(CPACK_PACKAGE_CONTACT "The PelaconSDK maintainers <maintainers@pelacon.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Bluetooth LE and Wi-Fi for desktop applications")
set(CPACK_RESOURCE_FILE_LICENSE "${PROJECT_SOURCE_DIR}/LICENSE")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_COMPONENTS_ALL runtime dev service doc)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
string(REPLACE "-" "+" CPACK_DEBIAN_PACKAGE_VERSION "${PELACON_VERSION_TEXT}")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS "${PELACON_STAGE}/lib")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(_library libpelaconsdk${PROJECT_VERSION_MAJOR})
set(_scripts "${PROJECT_SOURCE_DIR}/packaging/debian")
configure_file("${_scripts}/shlibs.in" "${PROJECT_BINARY_DIR}/packaging/shlibs" @ONLY)

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME ${_library})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_COMPONENT_RUNTIME_DESCRIPTION "PelaconSDK's library
 Lets programs use Bluetooth LE and Wi-Fi through PelaconService, which
 controls the radios.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA
    "${PROJECT_BINARY_DIR}/packaging/shlibs" "${_scripts}/triggers")

set(CPACK_DEBIAN_DEV_PACKAGE_NAME libpelaconsdk-dev)
set(CPACK_DEBIAN_DEV_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEV_PACKAGE_DEPENDS "${_library} (= ${CPACK_DEBIAN_PACKAGE_VERSION}-1)")
set(CPACK_COMPONENT_DEV_DESCRIPTION "headers of PelaconSDK
 Headers, CMake and pkg-config files for programs that use PelaconSDK, in C
 and in C++.")

set(CPACK_DEBIAN_SERVICE_PACKAGE_NAME pelacon-service)
set(CPACK_DEBIAN_SERVICE_PACKAGE_SECTION net)
set(CPACK_DEBIAN_SERVICE_PACKAGE_DEPENDS
    "${_library} (= ${CPACK_DEBIAN_PACKAGE_VERSION}-1), systemd | systemd-standalone-sysusers, systemd | systemd-standalone-tmpfiles")
set(CPACK_DEBIAN_SERVICE_PACKAGE_RECOMMENDS bluez)
set(CPACK_COMPONENT_SERVICE_DESCRIPTION "service of PelaconSDK and its command line
 PelaconService controls the radios for the programs that use PelaconSDK. It
 simulates them until /etc/default/pelacon has PELACON_OPTIONS=--radio linux.
 Members of the group pelacon may use it. The package has pelaconctl, too,
 which uses and operates the service from the command line.")
set(CPACK_DEBIAN_SERVICE_PACKAGE_CONTROL_EXTRA
    "${_scripts}/postinst" "${_scripts}/prerm" "${_scripts}/postrm")

set(CPACK_PRE_BUILD_SCRIPTS "${_scripts}/CompressManPages.cmake")

set(CPACK_DEBIAN_DOC_PACKAGE_NAME pelaconsdk-doc)
set(CPACK_DEBIAN_DOC_PACKAGE_SECTION doc)
set(CPACK_DEBIAN_DOC_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_DOC_PACKAGE_SHLIBDEPS OFF)
set(CPACK_COMPONENT_DOC_DESCRIPTION "guides and examples of PelaconSDK
 Guides to the library and the service, and small programs that show each
 part of the library.")

if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    # What Debian wants in each package.
    string(TIMESTAMP _date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    set(_changelog "${PROJECT_BINARY_DIR}/packaging/changelog.Debian")
    file(WRITE "${_changelog}" "pelaconsdk (${CPACK_DEBIAN_PACKAGE_VERSION}-1) unstable; urgency=medium

  * See CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${_date}
")
    execute_process(COMMAND gzip -9nf "${_changelog}" COMMAND_ERROR_IS_FATAL ANY)
    foreach(_component IN LISTS CPACK_COMPONENTS_ALL)
        string(TOUPPER ${_component} _upper)
        set(_folder ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${_upper}_PACKAGE_NAME})
        install(FILES "${_changelog}.gz" DESTINATION ${_folder} COMPONENT ${_component})
        install(FILES LICENSE DESTINATION ${_folder} RENAME copyright COMPONENT ${_component})
    endforeach()
    configure_file(packaging/pelacon.service.in "${PROJECT_BINARY_DIR}/packaging/pelacon.service" @ONLY)
    install(FILES "${PROJECT_BINARY_DIR}/packaging/pelacon.service"
            DESTINATION lib/systemd/system COMPONENT service)
    install(FILES packaging/sysusers.conf
            DESTINATION lib/sysusers.d RENAME pelacon.conf COMPONENT service)
    install(FILES packaging/tmpfiles.conf
            DESTINATION lib/tmpfiles.d RENAME pelacon.conf COMPONENT service)
    install(FILES packaging/network-manager.conf
            DESTINATION lib/NetworkManager/conf.d RENAME pelacon.conf COMPONENT service)
    install(FILES packaging/polkit.rules
            DESTINATION share/polkit-1/rules.d RENAME 50-pelacon.rules COMPONENT service)
    install(FILES packaging/udev.rules
            DESTINATION lib/udev/rules.d RENAME 60-pelacon.rules COMPONENT service)
    include(CPack)
endif()
