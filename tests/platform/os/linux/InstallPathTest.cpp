// Where a library expects the service: as it was built, as it was moved, and as a test says.
#include <os/Processes.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/linux/InChild.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace pelacon::test {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLibrary = INSTALL_LIBDIR "/library.so";
constexpr const char* kService = INSTALL_LIBEXECDIR "/pelacon/PelaconService";

TEST(ServiceInstallPathTest, HasItsLinksResolved)
{
    const fs::path link = INSTALL_FOLDER "/current";
    const fs::path folder = INSTALL_FOLDER "/version 1";
    fs::remove_all(INSTALL_FOLDER);
    fs::create_directories(folder);
    fs::create_directory_symlink(folder, link);
    std::ofstream(folder / "PelaconService").flush();
    EXPECT_EQ(pelacon::os::ServiceInstallPath(),
              (fs::canonical(folder) / "PelaconService").string());
}

/// A library of this name in an installed tree, with a service, and what it says of the latter.
class InstalledLibrary {
  public:
    InstalledLibrary()
    {
        fs::create_directories((Prefix() / kLibrary).parent_path());
        fs::create_directories(Service().parent_path());
        std::ofstream(Service()).flush();
        fs::copy_file(INSTALL_PATH_LIBRARY, Prefix() / kLibrary);
    }

    fs::path Prefix() const { return fs::canonical(folder_.Path()) / "prefix"; }
    fs::path Service() const { return Prefix() / kService; }

    static std::string ServicePathIn(const fs::path& library)
    {
        void* const handle = dlopen(library.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (handle == nullptr) {
            return dlerror();
        }
        return reinterpret_cast<const char* (*)()>(dlsym(handle, "ExpectedServicePath"))();
    }

  private:
    TemporaryFolder folder_;
};

TEST(RelativeServicePathTest, BeginsAtTheLibrary)
{
    const InstalledLibrary installed;
    EXPECT_EQ(InstalledLibrary::ServicePathIn(installed.Prefix() / kLibrary),
              installed.Service().string());
}

TEST(RelativeServicePathTest, BeginsAtTheLibraryBehindALink)
{
    const InstalledLibrary installed;
    const TemporaryFolder elsewhere;
    const fs::path link = elsewhere.Path() / "library.so";
    fs::create_symlink(installed.Prefix() / kLibrary, link);
    EXPECT_EQ(InstalledLibrary::ServicePathIn(link), installed.Service().string());
}

TEST(RelativeServicePathTest, FollowsATreeThatIsMoved)
{
    const InstalledLibrary installed;
    const fs::path moved = installed.Prefix().parent_path() / "moved";
    fs::rename(installed.Prefix(), moved);
    EXPECT_EQ(InstalledLibrary::ServicePathIn(moved / kLibrary), (moved / kService).string());
}

TEST(RelativeServicePathTest, GivesWayToTheEnvironment)
{
    const InstalledLibrary installed;
    const TemporaryFolder folder;
    const fs::path link = folder.Path() / "link";
    fs::create_symlink(installed.Service(), link);
    EXPECT_EQ(InChild([&] {
                  setenv("PELACON_SERVICE_PATH", link.c_str(), 1);
                  const fs::path library = installed.Prefix() / kLibrary;
                  return InstalledLibrary::ServicePathIn(library) == installed.Service() ? 0 : 1;
              }),
              0)
        << "the link resolved";
    EXPECT_EQ(InChild([&] {
                  setenv("PELACON_SERVICE_PATH", "/no/such/PelaconService", 1);
                  const fs::path library = installed.Prefix() / kLibrary;
                  return InstalledLibrary::ServicePathIn(library) == "/no/such/PelaconService" ? 0
                                                                                               : 1;
              }),
              0);
}

TEST(RelativeServicePathTest, IgnoresAnEmptyVariable)
{
    const InstalledLibrary installed;
    EXPECT_EQ(InChild([&] {
                  setenv("PELACON_SERVICE_PATH", "", 1);
                  const fs::path library = installed.Prefix() / kLibrary;
                  return InstalledLibrary::ServicePathIn(library) == installed.Service() ? 0 : 1;
              }),
              0);
}

TEST(RelativeServicePathTest, BecomesAbsoluteAtOnce)
{
    const InstalledLibrary installed;
    EXPECT_EQ(InChild([&] {
                  fs::current_path(installed.Prefix());
                  setenv("PELACON_SERVICE_PATH", "no/such/PelaconService", 1);
                  const fs::path library = installed.Prefix() / kLibrary;
                  return InstalledLibrary::ServicePathIn(library) ==
                                 installed.Prefix() / "no/such/PelaconService"
                             ? 0
                             : 1;
              }),
              0);
}

}  // namespace

}  // namespace pelacon::test
