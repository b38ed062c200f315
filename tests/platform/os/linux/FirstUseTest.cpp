// Children that are forked while another thread is in the first call of a function that remembers
// its result. The system's functions are replaced by ones that wait there.
#include <os/Processes.h>
#include <os/SharedLibrary.h>
#include <tests/support/linux/InChild.h>

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <future>
#include <thread>
#include <utility>

namespace {

using namespace std::chrono_literals;
using pelacon::test::InChild;

/// A call that waits inside, once.
struct Stay {
    std::promise<void> entered;
    std::promise<void> leave;
};

Stay* stay = nullptr;

void StayInside()
{
    if (Stay* const here = std::exchange(stay, nullptr)) {
        here->entered.set_value();
        EXPECT_EQ(here->leave.get_future().wait_for(10s), std::future_status::ready);
    }
}

/// Forks while another thread is in the call, and calls it in the child.
template <typename Call>
void ExpectThatAChildReturnsFrom(const Call& call)
{
    Stay here;
    stay = &here;
    std::thread first(call);
    ASSERT_EQ(here.entered.get_future().wait_for(10s), std::future_status::ready);
    std::thread leaving([&] {
        std::this_thread::sleep_for(50ms);  // a fork may be delayed until the call has returned
        here.leave.set_value();
    });
    EXPECT_EQ(InChild([&] {
                  call();
                  return 0;
              }),
              0);
    first.join();
    leaving.join();
}

}  // namespace

extern "C" void* dlopen(const char* /*file*/, int /*mode*/)
{
    StayInside();
    return nullptr;
}

// Visible, as the C++ library calls it.
extern "C" [[gnu::visibility("default")]] char* realpath(const char* /*path*/, char* /*resolved*/)
{
    StayInside();
    errno = ENOENT;
    return nullptr;
}

namespace {

TEST(FirstUseTest, OfTheLibraryThatIsPinned)
{
    ExpectThatAChildReturnsFrom([] { pelacon::os::PinThisLibrary(); });
}

TEST(FirstUseTest, OfTheInstallPath)
{
    ExpectThatAChildReturnsFrom([] { pelacon::os::ServiceInstallPath(); });
}

}  // namespace
