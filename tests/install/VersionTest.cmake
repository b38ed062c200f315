# The text of the version, in repositories with and without a tag.
# Usage: cmake -DTREE=<source tree> -DFOLDER=<folder to work in> -P VersionTest.cmake

cmake_minimum_required(VERSION 3.25)
find_program(GIT git REQUIRED)
file(REMOVE_RECURSE "${FOLDER}")
foreach(_file cmake/PelaconVersion.cmake include/PelaconSDK/Version.h)
    get_filename_component(_folder "${FOLDER}/outer/tree/${_file}" DIRECTORY)
    file(COPY "${TREE}/${_file}" DESTINATION "${_folder}")
endforeach()
set(_tree "${FOLDER}/outer/tree")
file(WRITE "${FOLDER}/Print.cmake" "include(\"${_tree}/cmake/PelaconVersion.cmake\")
file(WRITE \"${FOLDER}/text\" \"\${PELACON_VERSION} \${PELACON_VERSION_TEXT}\")")

function(git folder)
    execute_process(COMMAND "${GIT}" -C "${folder}" -c user.name=a -c user.email=a@b ${ARGN}
        OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
endfunction()

function(commit folder)
    git("${folder}" add -A .)
    git("${folder}" commit -q --allow-empty -m change)
endfunction()

# expect(<pattern of the text> <where>)
function(expect pattern where)
    execute_process(COMMAND "${CMAKE_COMMAND}" -P "${FOLDER}/Print.cmake" COMMAND_ERROR_IS_FATAL ANY)
    file(READ "${FOLDER}/text" _text)
    if(NOT _text MATCHES "^${pattern}$")
        message(SEND_ERROR "${where}: '${_text}' does not match '${pattern}'")
    endif()
endfunction()

expect("([0-9.]+) [0-9.]+" "without a repository")
file(READ "${FOLDER}/text" _text)
string(REGEX REPLACE " .*" "" _version "${_text}")
string(REPLACE "." "[.]" _number "${_version}")
expect("${_number} ${_number}" "without a repository")

git("${FOLDER}/outer" init -q)
commit("${FOLDER}/outer")
git("${FOLDER}/outer" tag "v${_version}")
expect("${_number} ${_number}" "as a part of a repository with a tag of its own")
file(REMOVE_RECURSE "${FOLDER}/outer/.git")

git("${_tree}" init -q)
commit("${_tree}")
expect("${_number} ${_number}" "without a tag")
git("${_tree}" tag "v${_version}")
expect("${_number} ${_number}" "at the tag")
commit("${_tree}")
expect("${_number} ${_number}-1-g[0-9a-f]+" "after the tag")
file(APPEND "${_tree}/include/PelaconSDK/Version.h" "\n")
expect("${_number} ${_number}-1-g[0-9a-f]+-dirty" "with a change")
