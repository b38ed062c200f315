// The error notifier where no thread can be created. One test, as there is one notifier.
#include <PelaconSDK/WifiSystemApi.h>
#include <tests/sdk/wifi/ErrorListeners.h>
#include <tests/support/SdkTest.h>

#include <dlfcn.h>
#include <pthread.h>

#include <atomic>
#include <cerrno>
#include <memory>
#include <system_error>

namespace pelacon::test {

namespace {

using ::testing::ElementsAre;

std::atomic<bool> noThreads{false};

TEST_F(SdkTest, TheNotifierStartsOnceItsWorkerCanBeCreated)
{
    auto& listener =
        Lasting<std::unique_ptr<RecordingListener>>(std::make_unique<RecordingListener>());
    WifiSystemApi& api = WifiSystemApi::GetInstance();
    noThreads = true;
    channel.Deliver(0xD80028, Bytes().I32(5));
    EXPECT_THAT(LogLines::All(), ElementsAre(Line(4, "catch error", "OnErrorStatus")));
    EXPECT_THROW(api.RegistListener(listener.get()), std::system_error);
    noThreads = false;
    EXPECT_TRUE(api.RegistListener(listener.get()));
    channel.Deliver(0xD80028, Bytes().I32(6));
    EXPECT_THAT(Codes(listener->Wait(1)), ElementsAre(6));
}

}  // namespace

}  // namespace pelacon::test

// In place of the C library's, as std::thread finds it.
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread,
                                                             const pthread_attr_t* attributes,
                                                             void* (*body)(void*), void* argument)
{
    if (pelacon::test::noThreads) {
        return EAGAIN;
    }
    static const auto real =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    return real(thread, attributes, body, argument);
}
