// A place for the pipes of a test.
#pragma once

#include <tests/support/TemporaryFolder.h>

#include <filesystem>
#include <string>

namespace pelacon::test {

/// Sets an environment variable of this process; an empty value takes it away.
void SetVariable(const char* name, const std::string& value);

/// Has the pipes of this process, and of those that it starts, lie in a folder of its own, as long
/// as this lives. To be made and destroyed while no other thread looks for a pipe.
class RuntimeFolder {
  public:
    RuntimeFolder() { SetVariable("PELACON_RUNTIME_DIR", Path().string()); }
    ~RuntimeFolder() { SetVariable("PELACON_RUNTIME_DIR", {}); }
    RuntimeFolder(const RuntimeFolder&) = delete;
    RuntimeFolder& operator=(const RuntimeFolder&) = delete;

    const std::filesystem::path& Path() const noexcept { return folder_.Path(); }

  private:
    TemporaryFolder folder_;
};

/// One that goes with the process. The first call is to come before any thread is started; later
/// ones do nothing.
inline void UseOwnRuntimeFolder()
{
    static const RuntimeFolder folder;
}

}  // namespace pelacon::test
