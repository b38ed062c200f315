# What every target of this tree shares: language level, warnings, sanitizers, compiler cache.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 11)
set(CMAKE_C_STANDARD_REQUIRED ON)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_C_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

option(PELACON_WARNINGS_AS_ERRORS "Treat compiler warnings as errors" OFF)
set(PELACON_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined or thread")

find_program(PELACON_CCACHE ccache)
if(PELACON_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(CMAKE_C_COMPILER_LAUNCHER "${PELACON_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER "${PELACON_CCACHE}")
endif()

# A source that passed is checked again when the compiler would compile it again: when the source, a
# header that it includes, or its command changes. The hash of the checks makes them part of the command.
option(PELACON_CLANG_TIDY "Check each C++ source with clang-tidy before it is compiled" OFF)
if(PELACON_CLANG_TIDY)
    find_program(PELACON_CLANG_TIDY_PROGRAM clang-tidy REQUIRED)
    file(GLOB _files "${PROJECT_SOURCE_DIR}/.clang-tidy" "${PROJECT_SOURCE_DIR}/*/.clang-tidy")
    set(_checks)
    foreach(_file IN LISTS _files)
        file(SHA256 "${_file}" _hash)
        string(APPEND _checks ${_hash})
    endforeach()
    string(SHA256 _checks "${_checks}")
    set(CMAKE_CXX_CLANG_TIDY "${PELACON_CLANG_TIDY_PROGRAM};--quiet;--extra-arg=-DPELACON_CHECKS=${_checks}")
endif()

find_package(Threads REQUIRED)

if(MSVC)
    add_compile_options(/W4 /utf-8)
    if(PELACON_WARNINGS_AS_ERRORS)
        add_compile_options(/WX)
    endif()
else()
    add_compile_options(-Wall -Wextra -Wpedantic -Wconversion -Wshadow)
    if(CMAKE_CXX_COMPILER_ID STREQUAL GNU AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
        # GCC 12 wrongly reports overlaps in std::string's operator+.
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-restrict>)
    endif()
    if(CMAKE_UNITY_BUILD AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
        # GCC treats a source that a unity build includes as a header.
        add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-Wno-subobject-linkage>)
    endif()
    if(PELACON_WARNINGS_AS_ERRORS)
        add_compile_options(-Werror)
    endif()
endif()

if(PELACON_SANITIZE)
    add_compile_options(-fsanitize=${PELACON_SANITIZE} -fno-omit-frame-pointer -fno-sanitize-recover=all)
    add_link_options(-fsanitize=${PELACON_SANITIZE})
endif()

if(WIN32)
    set(PELACON_PLATFORM windows)
    add_compile_definitions(UNICODE _UNICODE NOMINMAX WIN32_LEAN_AND_MEAN _WIN32_WINNT=0x0A00)
    if(MINGW)
        # Links the whole runtime statically, so that only system DLLs are needed.
        add_link_options(-static)
    endif()
else()
    set(PELACON_PLATFORM linux)
endif()

# The build tree is laid out like an installed one, so that programs can be run from it.
set(PELACON_STAGE "${PROJECT_BINARY_DIR}/stage")

# pelacon_stage(<target> <folder>) puts a program or library into this folder of the stage.
function(pelacon_stage target folder)
    get_target_property(type ${target} TYPE)
    set(program_folder ${folder})
    if(type STREQUAL SHARED_LIBRARY)
        set(program_folder bin)  # DLLs must be beside the programs that load them
    endif()
    set_target_properties(${target} PROPERTIES
        RUNTIME_OUTPUT_DIRECTORY "${PELACON_STAGE}/${program_folder}"
        LIBRARY_OUTPUT_DIRECTORY "${PELACON_STAGE}/${folder}"
        ARCHIVE_OUTPUT_DIRECTORY "${PELACON_STAGE}/${folder}")
endfunction()

# After a restart announcement the library searches for a process that runs from PELACON_SERVICE_PATH.
# Unless the user sets it, the path is fixed on Windows, and relative to the library's folder elsewhere, so
# that an installed tree may be moved.
if("$CACHE{PELACON_SERVICE_PATH}" MATCHES "stage.libexec.pelacon")
    unset(PELACON_SERVICE_PATH CACHE)  # an earlier version of this file cached its own choice
endif()
if(NOT PELACON_SERVICE_PATH AND WIN32)
    set(PELACON_SERVICE_PATH "C:\\Program Files\\Karvell\\Tavimo\\PelaconService.exe")
    set(PELACON_SERVICE_DESTINATION .)
    if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT AND PROJECT_IS_TOP_LEVEL AND CMAKE_HOST_WIN32)
        set(CMAKE_INSTALL_PREFIX "C:/Program Files/Karvell/Tavimo" CACHE PATH
            "Folder to install into" FORCE)
    endif()
elseif(NOT PELACON_SERVICE_PATH)
    set(PELACON_SERVICE_DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/pelacon)
    file(RELATIVE_PATH PELACON_SERVICE_PATH "${CMAKE_INSTALL_FULL_LIBDIR}"
        "${CMAKE_INSTALL_FULL_LIBEXECDIR}/pelacon/PelaconService")
else()
    if(NOT PELACON_SERVICE_PATH MATCHES "^(/|[A-Za-z]:)")
        message(FATAL_ERROR "PELACON_SERVICE_PATH is \"${PELACON_SERVICE_PATH}\", but must be an absolute path: "
            "where the service is installed, whatever the prefix is. Without it the service is installed in the prefix.")
    endif()
    string(REPLACE "\\" "/" PELACON_SERVICE_DESTINATION "${PELACON_SERVICE_PATH}")
    cmake_path(GET PELACON_SERVICE_DESTINATION PARENT_PATH PELACON_SERVICE_DESTINATION)
endif()

# The account whose service a client trusts, besides root and the user's own.
set(PELACON_SERVICE_ACCOUNT "pelacon" CACHE STRING "Account that a system-wide service runs as")
