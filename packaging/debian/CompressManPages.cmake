# Debian wants compressed man pages. Run by CPack before it makes the packages.
file(GLOB_RECURSE _pages "${CPACK_TEMPORARY_DIRECTORY}/*.1")
list(FILTER _pages INCLUDE REGEX "/share/man/")
if(_pages)
    execute_process(COMMAND gzip -9nf ${_pages} COMMAND_ERROR_IS_FATAL ANY)
endif()
