// Wide text, which the functions of Windows take, from UTF-8, which all other code keeps.
#pragma once

#include <windows.h>

#include <string>
#include <string_view>

namespace pelacon::os {

/// Bytes that are not UTF-8 become U+FFFD.
inline std::wstring Wide(std::string_view text)
{
    const auto convert = [&](wchar_t* room, int size) {
        return MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), room,
                                   size);
    };
    std::wstring wide(static_cast<std::size_t>(convert(nullptr, 0)), L'\0');
    convert(wide.data(), static_cast<int>(wide.size()));
    return wide;
}

}  // namespace pelacon::os
