// Loading the library, and unloading it, while the program runs.
#include <gtest/gtest.h>
#include <windows.h>

namespace {

constexpr auto kLibrary = L"PelaconSDK.dll";

class UnloadTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        if (IsLoaded()) {
            GTEST_SKIP() << "an earlier test of this process started it";
        }
        library_ = LoadLibraryW(kLibrary);
        ASSERT_NE(library_, nullptr) << GetLastError();
    }

    static bool IsLoaded() { return GetModuleHandleW(kLibrary) != nullptr; }

    int Call(const char* name) const
    {
        const auto function =
            reinterpret_cast<int (*)()>(reinterpret_cast<void*>(GetProcAddress(library_, name)));
        EXPECT_NE(function, nullptr) << name;
        return function != nullptr ? function() : -1000;
    }

    void Unload() const { EXPECT_NE(FreeLibrary(library_), 0); }

  private:
    HMODULE library_ = nullptr;
};

TEST_F(UnloadTest, LoadingTheLibraryDoesNotLoadWlanapi)
{
    EXPECT_EQ(GetModuleHandleW(L"wlanapi.dll"), nullptr) << "some editions of Windows lack it";
}

TEST_F(UnloadTest, TheLibraryUnloadsBeforeItsFirstStart)
{
    EXPECT_EQ(Call("BtEnable"), -1);
    Unload();
    EXPECT_FALSE(IsLoaded());
}

TEST_F(UnloadTest, TheLibraryStaysAfterItsFirstStart)
{
    EXPECT_EQ(Call("PelaconSvcStart"), 0);
    Unload();
    EXPECT_TRUE(IsLoaded()) << "its receive thread runs";
    EXPECT_EQ(Call("PelaconSvcStop"), 0);
}

}  // namespace
