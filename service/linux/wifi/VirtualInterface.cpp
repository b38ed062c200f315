#include <service/linux/wifi/VirtualInterface.h>

#include <arpa/inet.h>
#include <linux/if_addr.h>
#include <linux/nl80211.h>
#include <linux/rtnetlink.h>
#include <net/if.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <utility>

namespace pelacon::service::linux_radios::wifi {

namespace {

using netlink::Message;
using netlink::Request;

constexpr std::uint8_t kPrefixLength = 24;

/// Nobody is notified of events here.
void Ignore(const Message& /*event*/) {}

}  // namespace

VirtualInterface::VirtualInterface(Loop& loop, const NetlinkAccess& access, Plan plan,
                                   std::function<void(int error)> done)
    : plan_(std::move(plan)),
      done_(std::move(done)),
      wireless_(loop, access.openGeneric(), &Ignore, [] {}),
      addresses_(loop, access.openRoute(), &Ignore, [] {})
{
    wireless_.FindFamily(NL80211_GENL_NAME,
                         [this](const netlink::Family& family) { Make(family); });
}

VirtualInterface::~VirtualInterface()
{
    // The kernel removes it when its socket is closed, but somewhat later; with the request it is
    // gone when that has been sent.
    if (index_ != 0) {
        Request request(family_, NL80211_CMD_DEL_INTERFACE, Request::Kind::kDo);
        request.Put(NL80211_ATTR_IFINDEX, index_);
        wireless_.SendAtOnce(request);
    }
}

void VirtualInterface::Make(const netlink::Family& family)
{
    family_ = family.number;
    if (family_ == 0) {
        done_(ENODEV);
        return;
    }
    std::array<std::uint8_t, 6> octets{};
    std::uint64_t rest = plan_.address;
    for (auto octet = octets.rbegin(); octet != octets.rend(); ++octet, rest >>= 8U) {
        *octet = static_cast<std::uint8_t>(rest);
    }
    Request request(family_, NL80211_CMD_NEW_INTERFACE, Request::Kind::kDo);
    request.Put(NL80211_ATTR_WIPHY, plan_.card)
        .Put(NL80211_ATTR_IFNAME, plan_.name)
        .Put(NL80211_ATTR_IFTYPE, std::uint32_t{NL80211_IFTYPE_AP})
        .Put(NL80211_ATTR_MAC, std::span<const std::uint8_t>(octets))
        .PutFlag(NL80211_ATTR_SOCKET_OWNER);
    wireless_.Send(
        std::move(request),
        [this](const Message& message) {
            index_ = message.attributes.Get<std::uint32_t>(NL80211_ATTR_IFINDEX).value_or(0);
        },
        [this](int error) {
            if (error == 0 && index_ != 0) {
                SetIpAddress();
            } else {
                done_(error != 0 ? error : EPROTO);
            }
        });
}

void VirtualInterface::SetIpAddress()
{
    in_addr address{};
    inet_pton(AF_INET, plan_.ipAddress.c_str(), &address);
    in_addr broadcast = address;
    broadcast.s_addr |= htonl(0xFF);
    ifaddrmsg header{};
    header.ifa_family = AF_INET;
    header.ifa_prefixlen = kPrefixLength;
    header.ifa_index = index_;
    const auto octetsOf = [](const auto& record) {
        return std::span(reinterpret_cast<const std::uint8_t*>(&record), sizeof record);
    };
    Request request(RTM_NEWADDR, NLM_F_CREATE | NLM_F_REPLACE, octetsOf(header));
    request.Put(IFA_LOCAL, octetsOf(address))
        .Put(IFA_ADDRESS, octetsOf(address))
        .Put(IFA_BROADCAST, octetsOf(broadcast));
    addresses_.Send(std::move(request), &Ignore, [this](int error) { done_(error); });
}

std::uint32_t IndexOfInterface(const std::string& name)
{
    return if_nametoindex(name.c_str());
}

}  // namespace pelacon::service::linux_radios::wifi
