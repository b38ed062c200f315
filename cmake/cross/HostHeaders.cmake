# pelacon_host_headers(<target> <folder>): a header-only library of the build machine, for a cross
# build. Only its own folder is added to the include path, not its siblings.
function(pelacon_host_headers target folder)
    if(TARGET ${target})
        return()
    endif()
    find_path(${folder}_HOST_HEADERS ${folder} PATHS /usr/include NO_DEFAULT_PATH
              NO_CMAKE_FIND_ROOT_PATH REQUIRED)
    set(link "${CMAKE_BINARY_DIR}/host-headers/${folder}")
    if(NOT EXISTS "${link}")
        file(MAKE_DIRECTORY "${CMAKE_BINARY_DIR}/host-headers")
        file(CREATE_LINK "${${folder}_HOST_HEADERS}/${folder}" "${link}" SYMBOLIC)
    endif()
    add_library(${target} INTERFACE IMPORTED GLOBAL)
    target_include_directories(${target} SYSTEM INTERFACE "${CMAKE_BINARY_DIR}/host-headers")
endfunction()
