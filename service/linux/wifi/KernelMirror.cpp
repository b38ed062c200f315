#include <service/linux/wifi/KernelMirror.h>

#include <linux/genetlink.h>
#include <linux/nl80211.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::wifi {

namespace {

using netlink::Message;
using netlink::Request;

/// How long until what could not be read is read again.
constexpr std::chrono::seconds kNextTry{3};

/// The same for a list that changed while it was read.
constexpr std::chrono::milliseconds kSoon{10};

/// Interfaces get their final names from the system just after they appear, which is no event of
/// nl80211.
constexpr std::chrono::seconds kUntilRenamed{1};

}  // namespace

KernelMirror::KernelMirror(Loop& loop, netlink::Endpoint endpoint, std::function<void()> changed)
    : loop_(loop),
      changed_(std::move(changed)),
      socket_(
          loop, std::move(endpoint), [this](const Message& event) { Heard(event); },
          [this] {
              ReadAgain({true, true, true});
          })
{
    socket_.FindFamily(NL80211_GENL_NAME, [this](const netlink::Family& family) { Begin(family); });
}

/// The kernel has the family, or has none: an event will report it.
void KernelMirror::Begin(const netlink::Family& family)
{
    if (family.number == 0) {
        Know();
        return;
    }
    family_ = family.number;
    for (const char* const group : {NL80211_MULTICAST_GROUP_CONFIG, NL80211_MULTICAST_GROUP_REG,
                                    NL80211_MULTICAST_GROUP_MLME, NL80211_MULTICAST_GROUP_SCAN}) {
        const auto found = family.groups.find(group);
        if (found != family.groups.end()) {
            socket_.Join(found->second);
        }
    }
    ReadAgain({true, true, true});
}

void KernelMirror::Heard(const Message& event)
{
    if (event.family == GENL_ID_CTRL) {
        if (event.command == CTRL_CMD_NEWFAMILY && family_ == 0 &&
            event.attributes.Text(CTRL_ATTR_FAMILY_NAME) == NL80211_GENL_NAME) {
            socket_.FindFamily(NL80211_GENL_NAME,
                               [this](const netlink::Family& family) { Begin(family); });
        }
        return;
    }
    switch (event.command) {
        case NL80211_CMD_NEW_INTERFACE:
            renamed_ = loop_.After(kUntilRenamed, [this] { ReadAgain({false, true, false}); });
            ReadAgain({false, true, false});
            break;
        case NL80211_CMD_NEW_WIPHY:
        case NL80211_CMD_DEL_WIPHY:
        case NL80211_CMD_REG_CHANGE:
        case NL80211_CMD_WIPHY_REG_CHANGE:
        case NL80211_CMD_REG_BEACON_HINT:
            ReadAgain({true, true, false});
            break;
        case NL80211_CMD_DEL_INTERFACE:
        case NL80211_CMD_SET_INTERFACE:
        case NL80211_CMD_CONNECT:
        case NL80211_CMD_ROAM:
        case NL80211_CMD_DISCONNECT:
        case NL80211_CMD_CH_SWITCH_NOTIFY:
        case NL80211_CMD_START_AP:
        case NL80211_CMD_STOP_AP:
            ReadAgain({false, true, false});
            break;
        case NL80211_CMD_NEW_SCAN_RESULTS:
            ReadAgain({false, false, true});
            break;
        default:
            break;
    }
}

void KernelMirror::ReadAgain(Stale what)
{
    stale_.cards = stale_.cards || what.cards;
    stale_.interfaces = stale_.interfaces || what.interfaces;
    stale_.loads = stale_.loads || what.loads;
    if (!isReading_) {
        ReadNext();
    }
}

void KernelMirror::ReadNext()
{
    isReading_ = true;
    if (std::exchange(stale_.cards, false)) {
        ReadCards();
    } else if (std::exchange(stale_.interfaces, false)) {
        ReadInterfaces();
    } else if (std::exchange(stale_.loads, false) && !interfaces_.empty()) {
        ReadLoads(interfaces_.begin()->first);
    } else {
        isReading_ = false;
        Know();
    }
}

void KernelMirror::ReadCards()
{
    Request request(family_, NL80211_CMD_GET_WIPHY, Request::Kind::kDump);
    request.PutFlag(NL80211_ATTR_SPLIT_WIPHY_DUMP);
    const auto read = std::make_shared<Cards>();
    socket_.Send(
        std::move(request),
        [read](const Message& message) {
            if (const auto number = CardNumber(message.attributes)) {
                AddTo((*read)[*number], message.attributes);
            }
        },
        [this, read](int error) {
            if (error == 0) {
                cards_ = std::move(*read);
            }
            Finished({true, false, false}, error);
        });
}

void KernelMirror::ReadInterfaces()
{
    const auto read = std::make_shared<Interfaces>();
    socket_.Send(
        Request(family_, NL80211_CMD_GET_INTERFACE, Request::Kind::kDump),
        [read](const Message& message) {
            if (auto interface = ReadInterface(message.attributes)) {
                (*read)[interface->index] = std::move(*interface);
            }
        },
        [this, read](int error) {
            if (error == 0) {
                interfaces_ = std::move(*read);
            }
            Finished({false, true, false}, error);
        });
}

/// Of the interfaces from this one on, one after the other.
void KernelMirror::ReadLoads(std::uint32_t interface)
{
    Request request(family_, NL80211_CMD_GET_SURVEY, Request::Kind::kDump);
    request.Put(NL80211_ATTR_IFINDEX, interface);
    socket_.Send(
        std::move(request),
        [this](const Message& message) {
            if (const auto load = ReadLoad(message.attributes)) {
                loads_[load->frequency] = load->percent;
            }
        },
        // Not every driver has them, and an interface may be gone by now.
        [this, interface](int) {
            const auto next = interfaces_.upper_bound(interface);
            if (next != interfaces_.end()) {
                ReadLoads(next->first);
            } else {
                Finished({}, 0);
            }
        });
}

/// `what` could not be read if there is an error.
void KernelMirror::Finished(Stale what, int error)
{
    if (error == 0) {
        ReadNext();
        return;
    }
    stale_.cards = stale_.cards || what.cards;
    stale_.interfaces = stale_.interfaces || what.interfaces;
    const Loop::Duration delay = error == EINTR ? Loop::Duration(kSoon) : Loop::Duration(kNextTry);
    next_ = loop_.After(delay, [this] { ReadNext(); });
}

/// The copy is complete, or there is nothing to copy.
void KernelMirror::Know()
{
    isKnown_ = true;
    changed_();
}

}  // namespace pelacon::service::linux_radios::wifi
