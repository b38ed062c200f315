// Wide text for people and files.
#pragma once

#include <string>
#include <string_view>

namespace pelacon::os {

/// Wide text as UTF-8, whether wide characters hold UTF-16 or UTF-32; what is no character becomes
/// U+FFFD.
std::string Utf8(std::wstring_view text);

}  // namespace pelacon::os
