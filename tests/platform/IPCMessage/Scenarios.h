// What is done in a test a few times, and in a long one many times.
#pragma once

#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>

namespace pelacon::test {

/// Requests of several threads at once, none like another. Returns how many of them did not get
/// their own reply.
std::uint32_t CallsThatWentWrong(const IPCMessageClient& client, std::size_t threads,
                                 std::uint32_t each);

/// By how much requests that get no answer outlast their time-out: the median of twenty. None may
/// end before it.
Clock::duration Overrun(const IPCMessageClient& client, milliseconds timeout);

/// How far that may go.
inline constexpr Clock::duration kOverrunLimit = kSanitized ? 100ms : 20ms;

/// Turns away the client that wants to connect its events, and tells how long it waits then before
/// it tries again.
Clock::duration PauseBetweenAttempts(RawService& service);

/// Sends notifications (id 7) to every client that has arrived, while it exists.
class Stream {
  public:
    Stream(Handler& handler, IPCMessageServer& server);
    ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

  private:
    std::atomic<bool> ended_{false};
    std::thread thread_;
};

/// Starts and stops clients, some of them while others are in requests or callbacks run.
void StartAndStopLeavesNothing(Handler& handler, const IPCMessageServer& server, int rounds);

}  // namespace pelacon::test
