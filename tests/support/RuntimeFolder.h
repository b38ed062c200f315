// A place for the pipes of a test.
#pragma once

#include <tests/support/TemporaryFolder.h>

#include <filesystem>
#include <string>

namespace pelacon::test {

/// Sets an environment variable of this process, in UTF-8; an empty value removes it.
void SetVariable(const char* name, const std::string& value);

/// Puts the pipes of this process, and of those that it starts, into a folder of their own as long
/// as this object lives. The folder's path is not all ASCII, as users' names may not be. To be made
/// and destroyed while no other thread looks for a pipe.
class RuntimeFolder {
  public:
    RuntimeFolder()
    {
        std::filesystem::create_directories(path_);
        const std::u8string path = path_.u8string();
        SetVariable("PELACON_RUNTIME_DIR", {path.begin(), path.end()});
    }
    ~RuntimeFolder() { SetVariable("PELACON_RUNTIME_DIR", {}); }
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const noexcept { return path_; }

  private:
    TemporaryFolder folder_;
    std::filesystem::path path_ = folder_.Path() / u8"ü" / "run";
};

/// Makes a RuntimeFolder that lives as long as the process. The first call must come before any
/// thread is started; later calls do nothing.
inline void UseOwnRuntimeFolder()
{
    static const RuntimeFolder folder;
}

}  // namespace pelacon::test
