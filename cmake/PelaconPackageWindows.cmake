# The archive for Windows, which scripts/package --windows makes. It is to be unpacked into C:\Program Files: the
# folders in it are those where the library expects the service.

set(CPACK_PACKAGE_NAME PelaconSDK)
set(CPACK_PACKAGE_VENDOR "The PelaconSDK maintainers")
set(CPACK_PACKAGE_FILE_NAME "PelaconSDK-${PELACON_VERSION_TEXT}-windows-x86_64")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_GENERATOR ZIP)
set(CPACK_VERBATIM_VARIABLES ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX /Karvell/Tavimo)
include(CPack)
