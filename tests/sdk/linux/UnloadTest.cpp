// Loading the library, and unloading it, while the program runs.
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

class UnloadTest : public ::testing::Test {
  protected:
    void SetUp() override
    {
        if (IsLoaded()) {
            GTEST_SKIP() << "an earlier test of this process started it";
        }
        library_ = dlopen(PELACON_LIBRARY, RTLD_NOW | RTLD_LOCAL);
        ASSERT_NE(library_, nullptr) << dlerror();
    }

    static bool IsLoaded()
    {
        void* handle = dlopen(PELACON_LIBRARY, RTLD_NOW | RTLD_NOLOAD);
        if (handle != nullptr) {
            dlclose(handle);
        }
        return handle != nullptr;
    }

    int Call(const char* name)
    {
        const auto function = reinterpret_cast<int (*)()>(dlsym(library_, name));
        EXPECT_NE(function, nullptr) << name;
        return function != nullptr ? function() : -1000;
    }

    /// Calls a function of two pointers by its symbol.
    bool Call(const char* symbol, void* first, void* second)
    {
        const auto function = reinterpret_cast<bool (*)(void*, void*)>(dlsym(library_, symbol));
        EXPECT_NE(function, nullptr) << symbol;
        return function != nullptr && function(first, second);
    }

    void Unload() { EXPECT_EQ(dlclose(library_), 0); }

  private:
    void* library_ = nullptr;
};

TEST_F(UnloadTest, AForkAfterUnloadingCallsNoHandler)
{
    EXPECT_EQ(Call("BtEnable"), -1);
    Unload();
    const pid_t child = fork();
    if (child == 0) {
        _exit(7);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    EXPECT_EQ(WEXITSTATUS(status), 7);
}

TEST_F(UnloadTest, TheLibraryStaysAfterItsFirstStart)
{
    EXPECT_EQ(Call("PelaconSvcStart"), 0);
    Unload();
    EXPECT_TRUE(IsLoaded()) << "its receive thread runs";
}

TEST_F(UnloadTest, TheLibraryStaysAfterAnErrorListener)
{
    int api = 0;  // any address: the operation does not use its object
    EXPECT_FALSE(Call("_ZN13WifiSystemApi14RegistListenerEP13ErrorListener", &api, nullptr));
    Unload();
    EXPECT_TRUE(IsLoaded()) << "its worker runs";
}

}  // namespace
