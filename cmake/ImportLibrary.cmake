# cmake -DDLL=file -DOBJDUMP=... -DDLLTOOL=llvm-dlltool -DTO=folder -P ImportLibrary.cmake
# Writes the DLL's module definition file, and the import library that is made of it, for compilers other than
# the one that built the DLL. Both have the C functions only: the names of C++ members are of that compiler.

cmake_path(GET DLL STEM _name)
execute_process(COMMAND "${OBJDUMP}" -p "${DLL}" OUTPUT_VARIABLE _tables COMMAND_ERROR_IS_FATAL ANY)
string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table" "" _names "${_tables}")
string(REGEX REPLACE "\n\r?\n.*" "" _names "${_names}")
string(REGEX MATCHALL "\\[ *[0-9]+\\] [A-Za-z_][A-Za-z0-9_]*" _names "${_names}")
list(TRANSFORM _names REPLACE ".*\\] " "")
list(FILTER _names EXCLUDE REGEX "^_")
if(NOT _names)
    message(FATAL_ERROR "${DLL} exports no C function.")
endif()
list(JOIN _names "\n    " _names)
file(WRITE "${TO}/${_name}.def" "LIBRARY ${_name}.dll\nEXPORTS\n    ${_names}\n")
execute_process(COMMAND "${DLLTOOL}" -m i386:x86-64 -d "${TO}/${_name}.def" -l "${TO}/${_name}.lib"
    COMMAND_ERROR_IS_FATAL ANY)
