#include <os/CommandLine.h>
#include <os/Utf8.h>

#include <windows.h>
// clang-format off: builds on windows.h
#include <shellapi.h>
// clang-format on

#include <memory>
#include <new>

namespace pelacon::os {

namespace {

struct LocallyFreed {
    void operator()(wchar_t** words) const { LocalFree(words); }
};

}  // namespace

std::vector<std::string> Arguments(int /*argc*/, const char* const* /*argv*/)
{
    int count = 0;
    const std::unique_ptr<wchar_t*, LocallyFreed> words(
        CommandLineToArgvW(GetCommandLineW(), &count));
    if (!words) {
        throw std::bad_alloc();
    }
    std::vector<std::string> arguments;
    for (int word = 1; word < count; ++word) {
        arguments.push_back(Utf8(words.get()[word]));
    }
    return arguments;
}

}  // namespace pelacon::os
