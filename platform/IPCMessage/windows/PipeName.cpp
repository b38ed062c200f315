#include "PipeName.h"

#include <IPCMessage/Transport.h>
#include <os/Environment.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace pelacon::ipc {

namespace {

/// FNV-1a, which is short and gives the same value in every process.
std::string HashOf(std::string_view text)
{
    std::uint64_t hash = 0xCBF29CE484222325;
    for (const char character : text) {
        hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001B3;
    }
    char digits[17];
    std::snprintf(digits, sizeof digits, "%08lx%08lx", static_cast<unsigned long>(hash >> 32),
                  static_cast<unsigned long>(hash & 0xFFFFFFFF));
    return digits;
}

std::string LocalFolder()
{
    for (const char* variable : {"LOCALAPPDATA", "TEMP"}) {
        if (const auto value = os::EnvironmentVariable(variable); value && !value->empty()) {
            return *value + "\\Pelacon";
        }
    }
    return ".";
}

}  // namespace

std::optional<PipePlace> FindPipePlace(const std::wstring& pipeName)
{
    constexpr std::wstring_view kFirstPrintable = L"!";
    constexpr std::wstring_view kLastPrintable = L"~";
    const bool plain = std::all_of(pipeName.begin(), pipeName.end(), [&](wchar_t character) {
        return character >= kFirstPrintable[0] && character <= kLastPrintable[0];
    });
    const std::size_t slash = pipeName.find_last_of(L'\\');
    if (!plain || slash == std::wstring::npos || slash + 1 == pipeName.size()) {
        return std::nullopt;
    }
    PipePlace place;
    std::transform(pipeName.begin(), pipeName.end(), std::back_inserter(place.pipe),
                   [](wchar_t character) { return static_cast<char>(character); });
    place.base = place.pipe.substr(slash + 1);
    if (const auto chosen = os::EnvironmentVariable("PELACON_RUNTIME_DIR");
        chosen && !chosen->empty()) {
        place.folder = *chosen;
        place.pipe += "." + HashOf(*chosen);
    } else {
        place.folder = LocalFolder();
    }
    return place;
}

PipePlaces FindPipePlaces(const std::wstring& pipeName)
{
    const auto place = FindPipePlace(pipeName);
    return place ? PipePlaces{place->pipe} : PipePlaces{};
}

}  // namespace pelacon::ipc
