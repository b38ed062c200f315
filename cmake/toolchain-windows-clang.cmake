# Windows x86-64 as clang sees it, with the headers of Debian's mingw-w64: for scripts/lint, which
# compiles sources and links nothing.
include("${CMAKE_CURRENT_LIST_DIR}/toolchain-windows.cmake")
set(_gcc ${CMAKE_CXX_COMPILER})
set(CMAKE_C_COMPILER clang)
set(CMAKE_CXX_COMPILER clang++)
set(CMAKE_C_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_CXX_COMPILER_TARGET x86_64-w64-mingw32)
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
# Clang 14 does not look where Debian has the headers of the C++ library.
execute_process(COMMAND ${_gcc} -print-file-name=include/c++
    OUTPUT_VARIABLE _headers OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_CXX_FLAGS_INIT
    "-stdlib++-isystem ${_headers} -stdlib++-isystem ${_headers}/x86_64-w64-mingw32")
