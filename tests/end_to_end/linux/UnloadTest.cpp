// Unloading the library while its threads run.
#include <PelaconSDK/PelaconSDK.h>
#include <tests/support/ServiceProcess.h>

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <atomic>
#include <chrono>
#include <future>

namespace pelacon::test {

namespace {

using namespace std::chrono_literals;

/// The library, loaded at run time.
class LoadedLibrary {
  public:
    LoadedLibrary() : handle_(dlopen(PELACON_LIBRARY, RTLD_NOW | RTLD_LOCAL)) {}

    bool IsThere() const { return handle_ != nullptr; }
    bool Unload() { return dlclose(handle_) == 0; }

    template <typename Function>
    Function Find(const char* name) const
    {
        return reinterpret_cast<Function>(dlsym(handle_, name));
    }

  private:
    void* handle_;
};

std::promise<void> entered;
std::promise<void> unloaded;
std::atomic<int> calls{0};
std::atomic<bool> answered{false};
decltype(&IsBtEnabled) isBtEnabled = nullptr;

void OnStateChanged(std::int32_t /*state*/)
{
    if (calls == 0) {
        entered.set_value();
        EXPECT_EQ(unloaded.get_future().wait_for(10s), std::future_status::ready);
        answered = isBtEnabled();
    }
    ++calls;
}

TEST(Unload, WhileACallbackRunsTheLibraryStays)
{
    static BtManagerCallbacksC table{OnStateChanged};
    const ServiceProcess service;
    const nlohmann::json change{
        {"command", "notify"}, {"id", "BtStateChanged"}, {"payload", "02000000"}};
    LoadedLibrary library;
    ASSERT_TRUE(library.IsThere()) << dlerror();
    const auto start = library.Find<decltype(&PelaconSvcStart)>("PelaconSvcStart");
    const auto add =
        library.Find<decltype(&RegisterBtStateChangeCallbacks)>("RegisterBtStateChangeCallbacks");
    isBtEnabled = library.Find<decltype(&IsBtEnabled)>("IsBtEnabled");
    ASSERT_EQ(start(), 0);
    ASSERT_EQ(add(&table), kBleStatusSuccess);

    service.Command(change);
    ASSERT_EQ(entered.get_future().wait_for(10s), std::future_status::ready);
    EXPECT_TRUE(library.Unload());
    unloaded.set_value();
    EXPECT_TRUE(Eventually([] { return calls == 1; }));
    EXPECT_TRUE(answered) << "the callback's code is still loaded";
    service.Command(change);
    EXPECT_TRUE(Eventually([] { return calls == 2; })) << "the receive thread continues";
}

}  // namespace

}  // namespace pelacon::test
