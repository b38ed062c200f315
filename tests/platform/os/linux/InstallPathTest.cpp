// The process list of a library whose service is installed behind a symbolic link.
#include <os/Processes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

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

}  // namespace
