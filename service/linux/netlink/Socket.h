// A socket of the kernel's netlink, on the loop.
#pragma once

#include <service/linux/FileDescriptor.h>
#include <service/linux/Loop.h>
#include <service/linux/netlink/Message.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace pelacon::service::linux_radios::netlink {

/// A socket, and how it joins a group that events are sent to. Tests have their own.
struct Endpoint {
    FileDescriptor descriptor;
    std::function<void(std::uint32_t group)> join;
};

/// For generic netlink. Throws std::system_error.
Endpoint OpenGeneric();

/// For addresses and network interfaces, whose changes are its events (RTM_NEWLINK is the family of
/// such a message). Throws std::system_error.
Endpoint OpenRoute();

/// Whether the kernel has a family, its number, and those of its groups.
struct Family {
    std::uint16_t number = 0;
    std::map<std::string, std::uint32_t> groups;
};

/// Requests go one after the other, each answered within a bounded time. In the loop's thread.
class Socket : private Loop::Source {
  public:
    using OnMessage = std::function<void(const Message&)>;
    /// Called with 0, or with the kernel's errno; ETIMEDOUT where there is no answer in time.
    using OnDone = std::function<void(int error)>;

    static constexpr std::chrono::seconds kLimit{5};

    /// `event` is called with each event; `missed` when there were more
    /// than the socket could hold. None of the functions that are called may destroy the socket.
    Socket(Loop& loop, Endpoint endpoint, OnMessage event, std::function<void()> missed);
    ~Socket() override;

    /// `answer` is called with each message of the answer, then `done`, once, later. After an error
    /// the messages may be incomplete. None is called after the socket's end.
    void Send(Request request, OnMessage answer, OnDone done);

    /// Sends a request at once; its answer is not waited for.
    void SendAtOnce(const Request& request);

    /// Looks for a family; the number is 0 if the kernel has none of this name.
    void FindFamily(const std::string& name, std::function<void(const Family&)> found);

    /// From now on there are events of the group.
    void Join(std::uint32_t group) const { endpoint_.join(group); }

  private:
    struct Waiting {
        Request request;
        OnMessage answer;
        OnDone done;
    };

    Loop::Interest Wants() override;
    void Ready(short events) override;
    bool SendBytes(const Request& request, std::uint32_t sequence) const;
    std::uint32_t NextSequence() noexcept;
    void SendNext();
    void Take(const std::vector<std::uint8_t>& datagram);
    void Finish(int error);

    Loop& loop_;
    Endpoint endpoint_;
    OnMessage event_;
    std::function<void()> missed_;
    std::deque<Waiting> waiting_;  // the first one is under way if isUnderWay_
    bool isUnderWay_ = false;
    bool isInterrupted_ = false;  // the dump is inconsistent
    std::uint32_t lastSequence_ = 0;
    std::uint32_t sequence_ = 0;  // of the request that is under way
    Loop::Timer next_;
    Loop::Timer limit_;
};

}  // namespace pelacon::service::linux_radios::netlink
