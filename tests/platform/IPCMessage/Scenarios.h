// Steps that short tests do a few times and long tests many times.
#pragma once

#include <tests/platform/IPCMessage/Fixture.h>
#include <tests/platform/IPCMessage/RawPeers.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <thread>

namespace pelacon::test {

/// Makes different requests on several threads at once. Returns how many did not receive their own
/// reply.
std::uint32_t CallsThatWentWrong(const IPCMessageClient& client, std::size_t threads,
                                 std::uint32_t each);

/// By how much unanswered requests outlast their time-out: the median of twenty. None may end
/// before its time-out.
Clock::duration Overrun(const IPCMessageClient& client, milliseconds timeout);

/// The limit of that.
inline constexpr Clock::duration kOverrunLimit = kSanitized ? 100ms : 20ms;

/// Closes the event connection that a client opens, and returns how long the client waits before it
/// tries again.
Clock::duration PauseBetweenAttempts(RawService& service);

/// Sends notifications (id 7) to the client that arrived last, as long as this object lives.
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
