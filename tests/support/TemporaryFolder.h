// A folder for one test's files.
#pragma once

#include <filesystem>
#include <random>
#include <string>
#include <system_error>

namespace pelacon::test {

/// A new, empty folder, which the destructor removes.
class TemporaryFolder {
  public:
    TemporaryFolder()
    {
        std::random_device random;
        do {
            path_ =
                std::filesystem::temp_directory_path() / ("pelacon-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(path_));
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& Path() const noexcept { return path_; }
    /// The path of a file of this name in the folder, in UTF-8. The file need not exist.
    std::string File(const std::string& name) const
    {
        const std::u8string file = (path_ / name).u8string();
        return {file.begin(), file.end()};
    }

  private:
    std::filesystem::path path_;
};

}  // namespace pelacon::test
