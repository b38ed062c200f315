#include <tests/service/RuntimeFolder.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace pelacon::service::tests {

namespace {

class OwnFolder {
  public:
    OwnFolder()
    {
        std::string pattern = std::filesystem::temp_directory_path() / "pelacon-XXXXXX";
        if (mkdtemp(pattern.data()) == nullptr) {
            throw std::runtime_error("cannot make a folder for the test");
        }
        path_ = pattern;
        setenv("PELACON_RUNTIME_DIR", path_.c_str(), 1);
    }
    ~OwnFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    OwnFolder(const OwnFolder&) = delete;
    OwnFolder& operator=(const OwnFolder&) = delete;

  private:
    std::filesystem::path path_;
};

}  // namespace

void UseOwnRuntimeFolder()
{
    static const OwnFolder folder;
}

}  // namespace pelacon::service::tests
