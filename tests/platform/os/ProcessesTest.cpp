#include <os/Processes.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;
using namespace pelacon::os;

/// This program's name without what its platform puts behind it.
constexpr auto kOwnName = "platform_os_test";

TEST(VisitProcessPathsTest, VisitsTheOwnProcess)
{
    std::string own;
    EXPECT_TRUE(VisitProcessPaths([&](std::uint32_t id, const std::string& path) {
        if (id == CurrentProcessId()) {
            own = path;
        }
        return own.empty();
    }));
    EXPECT_EQ(fs::path(own).stem().string(), kOwnName) << own;
    EXPECT_TRUE(fs::path(own).is_absolute()) << own;
}

TEST(VisitProcessPathsTest, EndsWhenTheVisitorReturnsFalse)
{
    int visits = 0;
    EXPECT_TRUE(VisitProcessPaths([&](std::uint32_t, const std::string&) {
        ++visits;
        return false;
    }));
    EXPECT_EQ(visits, 1);
}

TEST(VisitProcessPathsTest, SkipsEmptyPaths)
{
    VisitProcessPaths([](std::uint32_t id, const std::string& path) {
        EXPECT_FALSE(path.empty()) << id;
        return true;
    });
}

TEST(VisitProcessNamesTest, VisitsTheOwnProcess)
{
    std::wstring own;
    VisitProcessNames([&](std::uint32_t id, const std::wstring& name) {
        EXPECT_FALSE(name.empty()) << id;
        if (id == CurrentProcessId()) {
            own = name;
        }
    });
    // The kernel's short name may be cut.
    EXPECT_EQ(own.substr(0, 15), std::wstring(L"platform_os_test").substr(0, 15));
}

TEST(ServiceInstallPathTest, BeginsAtTheRoot)
{
    EXPECT_TRUE(fs::path(ServiceInstallPath()).has_root_directory()) << ServiceInstallPath();
    EXPECT_EQ(fs::path(ServiceInstallPath()).stem().string(), "PelaconService");
}

}  // namespace
