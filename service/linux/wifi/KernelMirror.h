// A copy of what the kernel knows of Wi-Fi cards and their interfaces.
#pragma once

#include <service/linux/Loop.h>
#include <service/linux/netlink/Socket.h>
#include <service/linux/wifi/Nl80211.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>

namespace pelacon::service::linux_radios::wifi {

/// The sockets of a mirror; either function throws std::system_error. Tests have others.
struct NetlinkAccess {
    std::function<netlink::Endpoint()> openGeneric = &netlink::OpenGeneric;
    std::function<netlink::Endpoint()> openRoute = &netlink::OpenRoute;
};

/// Keeps the copy, and reports its changes. In the loop's thread.
class KernelMirror {
  public:
    using Cards = std::map<std::uint32_t, Card>;
    using Interfaces = std::map<std::uint32_t, CardInterface>;
    using Loads = std::map<std::uint32_t, std::int32_t>;

    /// `changed` is called, later, after each change of the copy, and when it is known that there
    /// is nothing to copy. It must not destroy the mirror.
    KernelMirror(Loop& loop, NetlinkAccess access, std::function<void()> changed);

    KernelMirror(const KernelMirror&) = delete;
    KernelMirror& operator=(const KernelMirror&) = delete;

    /// False until the first copy is complete, or could not be made.
    bool IsKnown() const noexcept { return isKnown_; }

    /// By their numbers.
    const Cards& AllCards() const noexcept { return cards_; }
    const Interfaces& AllInterfaces() const noexcept { return interfaces_; }

    /// How busy the card's frequencies are, in percent.
    Loads LoadsOf(std::uint32_t card) const;

  private:
    /// What has to be read again.
    struct Stale {
        bool cards = false;
        bool interfaces = false;
        bool loads = false;
    };

    void Open();
    void FindFamily();
    void Begin(const netlink::Family& family);
    void Forget();
    void Heard(const netlink::Message& event);
    void ReadAgain(Stale what);
    void ReadNext();
    void ReadCards();
    void ReadInterfaces();
    void ReadNetworks(const std::shared_ptr<Interfaces>& read, std::uint32_t first);
    void ReadLoads(Interfaces::const_iterator interface);
    void Finished(Stale what, int error);
    void Failed(const char* why);
    void Know();

    Loop& loop_;
    NetlinkAccess access_;
    std::function<void()> changed_;
    std::uint16_t family_ = 0;
    std::uint64_t generation_ = 0;  // of the family: answers of an earlier one are no longer valid
    bool hasFailed_ = false;        // and has not succeeded since
    bool isKnown_ = false;
    bool isReading_ = false;
    Stale stale_;
    Cards cards_;
    Interfaces interfaces_;
    std::map<std::uint32_t, Loads> loads_;  // by the numbers of their cards
    Loop::Timer open_;
    Loop::Timer next_;
    std::optional<netlink::Socket> socket_;
    std::optional<netlink::Socket> links_;  // has an event when an interface gets another name
};

}  // namespace pelacon::service::linux_radios::wifi
