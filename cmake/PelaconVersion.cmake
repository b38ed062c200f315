# The version: PELACON_VERSION as in include/PelaconSDK/Version.h, which is the only place to change it, and
# PELACON_VERSION_TEXT, which in a checkout names the commit as well ("1.2.3-4-gabcdef0", four commits after
# the tag v1.2.3). Without that tag, without git, and as a part of another repository, the text is the number.

get_filename_component(_tree "${CMAKE_CURRENT_LIST_DIR}/.." REALPATH)
set(_header "${_tree}/include/PelaconSDK/Version.h")
if(NOT CMAKE_SCRIPT_MODE_FILE)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${_header}")
endif()
file(STRINGS "${_header}" _numbers
    REGEX "define PELACON_VERSION_(MAJOR|MINOR|PATCH) ")
string(REGEX MATCHALL "[0-9]+" _numbers "${_numbers}")
list(JOIN _numbers "." PELACON_VERSION)

set(PELACON_VERSION_TEXT ${PELACON_VERSION})
find_program(PELACON_GIT git)
if(PELACON_GIT)
    execute_process(
        COMMAND ${PELACON_GIT} -C "${_tree}" rev-parse --show-toplevel
        OUTPUT_VARIABLE _toplevel OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    get_filename_component(_toplevel "${_toplevel}" REALPATH)
endif()
if(PELACON_GIT AND _toplevel STREQUAL _tree)
    execute_process(
        COMMAND ${PELACON_GIT} -C "${_tree}" describe --tags --dirty --match "v${PELACON_VERSION}"
        OUTPUT_VARIABLE _described RESULT_VARIABLE _failed
        OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(NOT _failed)
        string(SUBSTRING "${_described}" 1 -1 PELACON_VERSION_TEXT)
    endif()
endif()
