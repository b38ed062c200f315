#include <service/base/Log.h>
#include <service/linux/wifi/KernelMirror.h>

#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <linux/rtnetlink.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <system_error>
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

}  // namespace

KernelMirror::KernelMirror(Loop& loop, NetlinkAccess access, std::function<void()> changed)
    : loop_(loop), access_(std::move(access)), changed_(std::move(changed))
{
    open_ = loop_.After(Loop::Duration::zero(), [this] { Open(); });
}

void KernelMirror::Open()
{
    links_.reset();
    socket_.reset();
    try {
        socket_.emplace(
            loop_, access_.openGeneric(), [this](const Message& event) { Heard(event); },
            [this] { FindFamily(); });
        links_.emplace(
            loop_, access_.openRoute(),
            [this](const Message& event) {
                if (event.family == RTM_NEWLINK) {
                    ReadAgain({false, true, false});
                }
            },
            [this] {
                ReadAgain({false, true, false});
            });
        FindFamily();
    } catch (const std::system_error& error) {
        open_ = loop_.After(kNextTry, [this] { Open(); });
        Failed(error.what());
    }
}

void KernelMirror::FindFamily()
{
    socket_->FindFamily(NL80211_GENL_NAME,
                        [this](const netlink::Family& family) { Begin(family); });
}

/// The kernel has the family, or has none: an event will report it.
void KernelMirror::Begin(const netlink::Family& family)
{
    if (family.number == 0) {
        Forget();
        return;
    }
    if (std::exchange(family_, family.number) != family.number) {
        ++generation_;
        isReading_ = false;
    }
    try {
        for (const char* const group :
             {NL80211_MULTICAST_GROUP_CONFIG, NL80211_MULTICAST_GROUP_REG,
              NL80211_MULTICAST_GROUP_MLME, NL80211_MULTICAST_GROUP_SCAN}) {
            const auto found = family.groups.find(group);
            if (found != family.groups.end()) {
                socket_->Join(found->second);
            }
        }
    } catch (const std::system_error& error) {
        open_ = loop_.After(kNextTry, [this] { Open(); });
        Failed(error.what());
        return;
    }
    ReadAgain({true, true, true});
}

/// There is no such family.
void KernelMirror::Forget()
{
    family_ = 0;
    ++generation_;
    isReading_ = false;
    next_.Cancel();
    stale_ = {};
    cards_.clear();
    interfaces_.clear();
    loads_.clear();
    Know();
}

void KernelMirror::Heard(const Message& event)
{
    if (event.family == GENL_ID_CTRL) {
        if (event.attributes.Text(CTRL_ATTR_FAMILY_NAME) != NL80211_GENL_NAME) {
            return;
        }
        if (event.command == CTRL_CMD_NEWFAMILY) {
            FindFamily();
        } else if (event.command == CTRL_CMD_DELFAMILY) {
            Forget();
        }
        return;
    }
    switch (event.command) {
        case NL80211_CMD_NEW_WIPHY:
        case NL80211_CMD_DEL_WIPHY:
        case NL80211_CMD_REG_CHANGE:
        case NL80211_CMD_WIPHY_REG_CHANGE:
        case NL80211_CMD_REG_BEACON_HINT:
            ReadAgain({true, true, false});
            break;
        case NL80211_CMD_NEW_INTERFACE:
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
    if (!isReading_ && family_ != 0) {
        ReadNext();
    }
}

void KernelMirror::ReadNext()
{
    isReading_ = true;
    next_.Cancel();
    if (std::exchange(stale_.cards, false)) {
        ReadCards();
    } else if (std::exchange(stale_.interfaces, false)) {
        ReadInterfaces();
    } else if (std::exchange(stale_.loads, false) && !interfaces_.empty()) {
        ReadLoads(interfaces_.begin());
    } else {
        isReading_ = false;
        hasFailed_ = false;
        Know();
    }
}

void KernelMirror::ReadCards()
{
    Request request(family_, NL80211_CMD_GET_WIPHY, Request::Kind::kDump);
    request.PutFlag(NL80211_ATTR_SPLIT_WIPHY_DUMP);
    const auto read = std::make_shared<Cards>();
    socket_->Send(
        std::move(request),
        [read](const Message& message) {
            if (const auto number = CardNumber(message.attributes)) {
                AddTo((*read)[*number], message.attributes);
            }
        },
        [this, read, generation = generation_](int error) {
            if (generation != generation_) {
                return;
            }
            if (error == 0) {
                cards_ = std::move(*read);
                std::erase_if(loads_,
                              [this](const auto& loads) { return !cards_.contains(loads.first); });
            }
            Finished({true, false, false}, error);
        });
}

void KernelMirror::ReadInterfaces()
{
    const auto read = std::make_shared<Interfaces>();
    socket_->Send(
        Request(family_, NL80211_CMD_GET_INTERFACE, Request::Kind::kDump),
        [read](const Message& message) {
            if (auto interface = ReadInterface(message.attributes)) {
                (*read)[interface->index] = std::move(*interface);
            }
        },
        [this, read, generation = generation_](int error) {
            if (generation != generation_) {
                return;
            }
            if (error == 0) {
                ReadNetworks(read, 0);
            } else {
                Finished({false, true, false}, error);
            }
        });
}

/// The names of the networks that interfaces from this one on have joined, one after the other.
void KernelMirror::ReadNetworks(const std::shared_ptr<Interfaces>& read, std::uint32_t first)
{
    const auto next =
        std::find_if(read->lower_bound(first), read->end(), [](const auto& interface) {
            return interface.second.frequency != 0 && interface.second.ssid.empty();
        });
    if (next == read->end()) {
        interfaces_ = std::move(*read);
        Finished({false, true, false}, 0);
        return;
    }
    const std::uint32_t index = next->first;
    Request request(family_, NL80211_CMD_GET_SCAN, Request::Kind::kDump);
    request.Put(NL80211_ATTR_IFINDEX, index);
    socket_->Send(
        std::move(request),
        [read, index](const Message& message) {
            if (auto name = ReadJoinedNetwork(message.attributes)) {
                (*read)[index].ssid = std::move(*name);
            }
        },
        // An interface may be gone by now.
        [this, read, index, generation = generation_](int) {
            if (generation == generation_) {
                ReadNetworks(read, index + 1);
            }
        });
}

/// Of the interfaces from this one on, one after the other.
void KernelMirror::ReadLoads(Interfaces::const_iterator interface)
{
    const auto [index, card] = std::pair(interface->first, interface->second.card);
    Request request(family_, NL80211_CMD_GET_SURVEY, Request::Kind::kDump);
    request.Put(NL80211_ATTR_IFINDEX, index);
    const auto read = std::make_shared<Loads>();
    socket_->Send(
        std::move(request),
        [read](const Message& message) {
            if (const auto load = ReadLoad(message.attributes)) {
                (*read)[load->frequency] = load->percent;
            }
        },
        // Not every driver has them, and an interface may be gone by now.
        [this, read, index = index, card = card, generation = generation_](int error) {
            if (generation != generation_) {
                return;
            }
            if (error == 0 && cards_.contains(card)) {
                loads_[card] = std::move(*read);
            }
            const auto next = interfaces_.upper_bound(index);
            if (next != interfaces_.end()) {
                ReadLoads(next);
            } else {
                Finished({}, 0);
            }
        });
}

KernelMirror::Loads KernelMirror::LoadsOf(std::uint32_t card) const
{
    const auto found = loads_.find(card);
    return found != loads_.end() ? found->second : Loads();
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
    isReading_ = false;  // an event has it read before
    const Loop::Duration delay = error == EINTR ? Loop::Duration(kSoon) : Loop::Duration(kNextTry);
    next_ = loop_.After(delay, [this] { ReadNext(); });
    if (error != EINTR) {
        Failed(std::generic_category().message(error).c_str());
    }
}

/// It is tried again later.
void KernelMirror::Failed(const char* why)
{
    if (!std::exchange(hasFailed_, true)) {
        log::Warning("the kernel's Wi-Fi cannot be read: ", why);
    }
    Know();
}

void KernelMirror::Know()
{
    isKnown_ = true;
    changed_();
}

}  // namespace pelacon::service::linux_radios::wifi
