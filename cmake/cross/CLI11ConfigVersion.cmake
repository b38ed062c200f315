# The build machine's package manager ensures the version.
set(PACKAGE_VERSION "${PACKAGE_FIND_VERSION}")
set(PACKAGE_VERSION_COMPATIBLE TRUE)
