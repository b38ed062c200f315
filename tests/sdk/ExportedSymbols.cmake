# Compares the symbols that the library exports with the list in LIST, and checks that the C program in
# C_PROGRAM calls every C function among them. NM and LIBRARY are the tool and the library. For a DLL,
# OBJDUMP and CXXFILT list the names, and the DLLs that it needs are compared with SYSTEM_DLLS. With
# UPDATE the list is written instead:
#     cmake -DNM=nm -DLIBRARY=... -DLIST=tests/sdk/exported-symbols.txt -DUPDATE=ON -P ...

cmake_minimum_required(VERSION 3.25)

if(OBJDUMP)
    execute_process(COMMAND "${OBJDUMP}" -p "${LIBRARY}"
        OUTPUT_VARIABLE tables COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "DLL Name: [^\r\n]+" needed "${tables}")
    foreach(line IN LISTS needed)
        string(REPLACE "DLL Name: " "" dll "${line}")
        string(TOLOWER "${dll}" dll)
        if(NOT dll IN_LIST SYSTEM_DLLS)
            message(SEND_ERROR "needs ${dll}, which is none of the system's: ${SYSTEM_DLLS}")
        endif()
    endforeach()
    string(REGEX REPLACE ".*\\[Ordinal/Name Pointer\\] Table" "" names "${tables}")
    string(REGEX REPLACE "\n\r?\n.*" "" names "${names}")
    string(REGEX MATCHALL "\\[ *[0-9]+\\] [A-Za-z_][A-Za-z0-9_]*" names "${names}")
    list(TRANSFORM names REPLACE ".*\\] " "")
    execute_process(COMMAND "${CXXFILT}" ${names}
        OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
    string(REPLACE "unsigned long long" "unsigned long" exported "${exported}")  # size_t
else()
    execute_process(COMMAND "${NM}" -D --defined-only -C "${LIBRARY}"
        OUTPUT_VARIABLE exported COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX REPLACE "(^|\n)[0-9a-f]* *[A-Za-z] " "\\1" exported "${exported}")
endif()
string(REPLACE "std::__cxx11::basic_string<char, std::char_traits<char>, std::allocator<char> >"
    "std::string" exported "${exported}")
string(REPLACE "[abi:cxx11]" "" exported "${exported}")  # CMake's lists treat brackets in a special way
string(STRIP "${exported}" exported)
string(REPLACE "\n" ";" exported "${exported}")
list(SORT exported)

if(UPDATE)
    list(JOIN exported "\n" text)
    file(WRITE "${LIST}" "${text}\n")
    return()
endif()

file(STRINGS "${LIST}" listed)
set(missing ${listed})
list(REMOVE_ITEM missing ${exported})
set(unlisted ${exported})
list(REMOVE_ITEM unlisted ${listed})
foreach(symbol IN LISTS missing)
    message(SEND_ERROR "not exported any more: ${symbol}")
endforeach()
foreach(symbol IN LISTS unlisted)
    message(SEND_ERROR "exported, but not listed: ${symbol}")
endforeach()

file(READ "${C_PROGRAM}" program)
string(REGEX REPLACE "\"[^\"\n]*\"" "" program "${program}")  # a name in a text is no call
foreach(symbol IN LISTS exported)
    if(symbol MATCHES "^[A-Za-z0-9_]+$" AND NOT program MATCHES "[^A-Za-z0-9_]${symbol}\\(")
        message(SEND_ERROR "not called by the C program: ${symbol}")
    endif()
endforeach()
