#include "Handle.h"
#include "Wide.h"

#include <os/Files.h>

#include <io.h>
#include <windows.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <system_error>

namespace pelacon::os {

namespace {

[[noreturn]] void Fail(const std::string& path)
{
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category(), path);
}

bool WriteAll(int descriptor, std::string_view text) noexcept
{
    while (!text.empty()) {
        const int written =
            _write(descriptor, text.data(),
                   static_cast<unsigned>(std::min<std::size_t>(text.size(), INT_MAX)));
        if (written <= 0) {
            return false;
        }
        text.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

}  // namespace

void SaveFile(const std::string& path, std::string_view contents)
{
    const std::wstring wide = Wide(path);
    const std::wstring next = wide + L".next";
    {
        const OwnedHandle file =
            MakeHandle(CreateFileW(next.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                   FILE_ATTRIBUTE_NORMAL, nullptr));
        DWORD written = 0;
        if (!file ||
            WriteFile(file.get(), contents.data(), static_cast<DWORD>(contents.size()), &written,
                      nullptr) == FALSE ||
            written != contents.size() || FlushFileBuffers(file.get()) == FALSE) {
            Fail(path);
        }
    }
    if (MoveFileExW(next.c_str(), wide.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) == FALSE) {
        Fail(path);
    }
}

std::FILE* OpenToAppend(const std::string& path)
{
    return _wfopen(Wide(path).c_str(), L"aN");
}

bool IsOpenForWriting(int descriptor) noexcept
{
    return _get_osfhandle(descriptor) != -1;
}

bool WriteAndClose(int descriptor, std::string_view text)
{
    const bool written = WriteAll(descriptor, text);
    _close(descriptor);
    return written;
}

void OpenMissingStandardStreams() noexcept {}

bool IsStandardErrorForLogs()
{
    return true;
}

bool WriteToStandardError(std::string_view text) noexcept
{
    return WriteAll(_fileno(stderr), text);
}

}  // namespace pelacon::os
