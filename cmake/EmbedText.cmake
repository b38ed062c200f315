# cmake -DFROM=file -DTO=file.cpp -DHEADER=<header> -DFUNCTION=qualified::Name -P EmbedText.cmake
# Writes a source file with `std::string_view <FUNCTION>()`, which returns the text of a file.

file(READ "${FROM}" _hex HEX)
string(REGEX REPLACE "([0-9a-f][0-9a-f])" "'\\\\x\\1'," _bytes "${_hex}")
string(REGEX REPLACE "(('[^']*',){12})" "\\1\n    " _bytes "${_bytes}")
file(WRITE "${TO}" "#include ${HEADER}

namespace {

constexpr char kText[] = {
    ${_bytes}
};

}  // namespace

std::string_view ${FUNCTION}()
{
    return {kText, sizeof kText};
}
")
