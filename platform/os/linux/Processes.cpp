#include <os/Environment.h>
#include <os/Processes.h>
#include <os/Singleton.h>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>

namespace pelacon::os {

namespace {

namespace fs = std::filesystem;

std::optional<std::uint32_t> ProcessIdOf(const fs::path& entry)
{
    const std::string name = entry.filename().string();
    std::uint32_t id = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), id);
    if (error != std::errc{} || end != name.data() + name.size()) {
        return std::nullopt;
    }
    return id;
}

/// Calls visitor(id, folder under /proc) until it returns false; false when /proc cannot be read.
template <typename Visitor>
bool VisitProcesses(const Visitor& visitor)
{
    std::error_code error;
    fs::directory_iterator entry("/proc", error);
    if (error) {
        return false;
    }
    for (; entry != fs::directory_iterator(); entry.increment(error)) {
        const std::optional<std::uint32_t> id = ProcessIdOf(entry->path());
        if (id && !visitor(*id, entry->path())) {
            return true;
        }
        if (error) {
            return true;
        }
    }
    return true;
}

/// The path with its links resolved; the path itself where that is not possible.
fs::path Resolved(const fs::path& path)
{
    std::error_code error;
    fs::path resolved = fs::canonical(path, error);
    return error ? path : resolved;
}

/// The folder of the library, or of the program that this code is linked into.
fs::path FolderOfThisLibrary()
{
    Dl_info here{};
    link_map* module = nullptr;
    static const char inThisLibrary = 0;
    dladdr1(&inThisLibrary, &here, reinterpret_cast<void**>(&module), RTLD_DL_LINKMAP);
    const bool isLibrary = module != nullptr && module->l_name[0] != '\0';
    return Resolved(isLibrary ? module->l_name : "/proc/self/exe").parent_path();
}

/// The contents of a file up to this character. Programs that another thread starts meanwhile do
/// not inherit the file, which they would from a stream.
std::string ReadUpTo(char end, const fs::path& path)
{
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "re"),
                                                               &std::fclose);
    std::string text;
    if (file) {
        for (int next = std::getc(file.get()); next != EOF && next != end;
             next = std::getc(file.get())) {
            text.push_back(static_cast<char>(next));
        }
    }
    return text;
}

/// The first word of a process's command line. A relative one says nothing here, as another user's
/// working folder may not be read.
fs::path ProgramWord(const fs::path& process)
{
    const std::string word = ReadUpTo('\0', process / "cmdline");
    return word.starts_with('/') ? Resolved(word) : fs::path(word);
}

/// The executable link, or where that may not be read (a process of another user's) the first word
/// of the command line. The path that a process was started from also counts when its executable
/// was replaced since, as an upgrade does.
std::string ExecutablePath(const fs::path& process)
{
    constexpr std::string_view kDeleted = " (deleted)";
    std::error_code error;
    const fs::path link = fs::read_symlink(process / "exe", error);
    std::string path = (error ? ProgramWord(process) : link).string();
    if (!error && path.ends_with(kDeleted)) {
        path.erase(path.size() - kDeleted.size());
    }
    return path;
}

std::wstring ShortName(const fs::path& process)
{
    const std::string name = ReadUpTo('\n', process / "comm");
    if (name.empty()) {
        return L"<unknown>";
    }
    std::wstring wide;
    for (const char character : name) {
        wide.push_back(static_cast<wchar_t>(static_cast<unsigned char>(character)));
    }
    return wide;
}

}  // namespace

std::uint32_t CurrentProcessId()
{
    return static_cast<std::uint32_t>(getpid());
}

const std::string& ServiceInstallPath()
{
    static constinit Singleton<const std::string> path;
    return path.Get([] {
        const auto chosen = EnvironmentVariable("PELACON_SERVICE_PATH");
        const fs::path given = chosen && !chosen->empty()
                                   ? fs::path(*chosen)
                                   : FolderOfThisLibrary() / PELACON_SERVICE_PATH;
        std::error_code error;
        fs::path expected = fs::absolute(given, error);
        if (error) {  // the working folder was deleted
            expected = given;
        }
        // As the kernel names the executables of processes.
        const fs::path resolved = fs::weakly_canonical(expected, error);
        return new std::string((error ? expected : resolved).string());
    });
}

bool VisitProcessPaths(
    const std::function<bool(std::uint32_t processId, const std::string& path)>& visitor)
{
    return VisitProcesses([&](std::uint32_t id, const fs::path& process) {
        const std::string path = ExecutablePath(process);
        return path.empty() || visitor(id, path);
    });
}

void VisitProcessNames(
    const std::function<void(std::uint32_t processId, const std::wstring& name)>& visitor)
{
    VisitProcesses([&](std::uint32_t id, const fs::path& process) {
        visitor(id, ShortName(process));
        return true;
    });
}

}  // namespace pelacon::os
