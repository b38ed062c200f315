// A stand-in of the kernel's Wi-Fi: nl80211 and rfkill.
#pragma once

#include <service/linux/netlink/Socket.h>
#include <service/linux/wifi/KernelMirror.h>
#include <service/linux/wifi/Rfkill.h>
#include <tests/service/linux/NetlinkBytes.h>
#include <tests/service/linux/OnLoop.h>
#include <tests/service/linux/PacketReader.h>

#include <linux/genetlink.h>
#include <linux/nl80211.h>
#include <linux/rfkill.h>
#include <linux/rtnetlink.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

namespace pelacon::service::linux_radios::tests {

/// Has no card at first. It must outlive what uses its sockets.
class WifiKernel {
  public:
    using Frequencies = std::vector<std::uint32_t>;
    struct Survey {
        std::uint32_t frequency = 0;
        std::uint64_t active = 0;
        std::uint64_t busy = 0;
    };

    WifiKernel() = default;
    ~WifiKernel()
    {
        loop_.Post([this] {
            readers_.clear();
            ends_.clear();
        });
        loop_.Stop();
    }
    WifiKernel(const WifiKernel&) = delete;
    WifiKernel& operator=(const WifiKernel&) = delete;

    wifi::NetlinkAccess Netlink()
    {
        return {[this] { return OpenGeneric(); }, [this] { return OpenRoute(); }};
    }

    /// The switches: that of the card "phy3" has the number 3.
    wifi::RfkillAccess OpenRfkill(bool isWritable = true)
    {
        return {Open(Kind::kRfkill,
                     [this](const FileDescriptor& /*end*/, const Octets& packet) {
                         SetSoftBlocks(packet.at(kSoftOctet) != 0);
                     }),
                isWritable, [](std::uint32_t number) { return std::optional(number); }};
    }

    /// The next `times` attempts to open a socket for netlink fail.
    void RefuseSockets(int times)
    {
        const std::lock_guard lock(mutex_);
        refusedSockets_ = times;
    }

    /// The kernel has no Wi-Fi at all until LoadDriver. Its family has another number then.
    void UnloadDriver()
    {
        const std::lock_guard lock(mutex_);
        hasFamily_ = false;
        cards_.clear();
        interfaces_.clear();
        EmitFamily(CTRL_CMD_DELFAMILY);
        joined_.clear();
    }
    bool IsLoaded() const
    {
        const std::lock_guard lock(mutex_);
        return hasFamily_;
    }
    void LoadDriver()
    {
        const std::lock_guard lock(mutex_);
        hasFamily_ = true;
        ++family_;
        EmitFamily(CTRL_CMD_NEWFAMILY);
    }

    /// The card "phy0", or with another number, and its frequencies.
    void SetCard(std::uint32_t number, const Frequencies& frequencies = {2412, 2437, 5180})
    {
        const bool isNew = [&] {
            const std::lock_guard lock(mutex_);
            return cards_.insert_or_assign(number, frequencies).second;
        }();
        Emit(isNew ? NL80211_CMD_NEW_WIPHY : NL80211_CMD_WIPHY_REG_CHANGE,
             isNew ? kConfiguration : kRegulation);
        if (isNew) {
            Block(number, false, false, RFKILL_OP_ADD);
        }
    }
    void RemoveCard(std::uint32_t number)
    {
        {
            const std::lock_guard lock(mutex_);
            cards_.erase(number);
            std::erase_if(interfaces_, [&](const auto& one) { return one.second.card == number; });
        }
        Block(number, false, false, RFKILL_OP_DEL);
        Emit(NL80211_CMD_DEL_WIPHY, kConfiguration);
    }

    /// An interface of a card that is on a network, if a name is given; on its own one if it is no
    /// station.
    void SetInterface(std::uint32_t index, const std::string& name, std::uint32_t card = 0,
                      const std::string& ssid = {}, std::uint32_t frequency = 0,
                      std::uint32_t kind = NL80211_IFTYPE_STATION)
    {
        {
            const std::lock_guard lock(mutex_);
            interfaces_[index] = {card, name, ssid, frequency, kind, nullptr};
        }
        if (ssid.empty()) {
            Emit(NL80211_CMD_NEW_INTERFACE, kConfiguration);
        } else {
            Emit(NL80211_CMD_CONNECT, kNetworks);
        }
    }
    /// Without an event of nl80211.
    void RenameInterface(std::uint32_t index, const std::string& name)
    {
        const std::lock_guard lock(mutex_);
        interfaces_.at(index).name = name;
        EmitPacket(Kind::kRoute, NetlinkMessage(RTM_NEWLINK, 0, Octets(sizeof(ifinfomsg))));
    }
    void RemoveInterface(std::uint32_t index)
    {
        {
            const std::lock_guard lock(mutex_);
            interfaces_.erase(index);
        }
        Emit(NL80211_CMD_DEL_INTERFACE, kConfiguration);
    }

    /// The number of the interface with the name; 0 if there is none.
    std::uint32_t IndexOf(const std::string& name) const
    {
        const std::lock_guard lock(mutex_);
        for (const auto& [index, interface] : interfaces_) {
            if (interface.name == name) {
                return index;
            }
        }
        return 0;
    }
    /// From now on, interfaces are made without an answer.
    void HoldInterfaces()
    {
        const std::lock_guard lock(mutex_);
        areInterfacesHeld_ = true;
    }
    /// From now on, no interfaces can be made.
    void RefuseInterfaces(int error)
    {
        const std::lock_guard lock(mutex_);
        interfaceError_ = error;
    }

    void Measure(const std::vector<Survey>& surveys)
    {
        {
            const std::lock_guard lock(mutex_);
            surveys_ = surveys;
        }
        Emit(NL80211_CMD_NEW_SCAN_RESULTS, kScans);
    }

    void Block(std::uint32_t number, bool soft, bool hard,
               std::uint8_t operation = RFKILL_OP_CHANGE)
    {
        const std::lock_guard lock(mutex_);
        if (operation == RFKILL_OP_DEL) {
            blocks_.erase(number);
        } else {
            blocks_[number] = {soft, hard};
        }
        EmitBlock(number, soft, hard, operation);
    }

    /// The next dumps of this command are empty; they end as if the list had changed meanwhile.
    void InterruptDumps(std::uint8_t command, int times)
    {
        const std::lock_guard lock(mutex_);
        faults_[command] = {times, EINTR};
    }
    /// The next dumps of this command are empty, and end with the errno.
    void FailDumps(std::uint8_t command, int times, int error)
    {
        const std::lock_guard lock(mutex_);
        faults_[command] = {times, error};
    }

  private:
    using Taken = std::function<void(const FileDescriptor& end, const Octets& packet)>;
    enum class Kind : std::uint8_t { kGeneric, kRoute, kRfkill };
    struct End {
        std::shared_ptr<const FileDescriptor> socket;
        Kind kind;
    };
    struct Fault {
        int times = 0;
        int error = 0;
    };

    struct Interface {
        std::uint32_t card = 0;
        std::string name;
        std::string ssid;
        std::uint32_t frequency = 0;
        std::uint32_t kind = 0;
        const FileDescriptor* owner = nullptr;  // it is removed when this is closed
    };

    static constexpr std::uint16_t kFirstFamily = 28;
    static constexpr std::size_t kSoftOctet = 6;
    // Groups of events, by their numbers:
    static constexpr std::uint32_t kConfiguration = 5;
    static constexpr std::uint32_t kScans = 6;
    static constexpr std::uint32_t kRegulation = 7;
    static constexpr std::uint32_t kNetworks = 8;

    void MayRefuseSocket()
    {
        const std::lock_guard lock(mutex_);
        if (refusedSockets_ > 0) {
            --refusedSockets_;
            throw std::system_error(EMFILE, std::generic_category(), "no netlink socket");
        }
    }

    netlink::Endpoint OpenGeneric()
    {
        MayRefuseSocket();
        return {Open(Kind::kGeneric, [this](const FileDescriptor& end,
                                            const Octets& packet) { Answer(end, packet); }),
                [this](std::uint32_t group) {
                    const std::lock_guard lock(mutex_);
                    joined_.insert(group);
                }};
    }

    netlink::Endpoint OpenRoute()
    {
        MayRefuseSocket();
        return {Open(Kind::kRoute,
                     [](const FileDescriptor& end, const Octets& packet) {
                         Send(end, Acknowledgement(SequenceOf(packet)));
                     }),
                [](std::uint32_t /*group*/) {}};
    }

    FileDescriptor Open(Kind kind, Taken taken)
    {
        std::array<int, 2> ends{};
        EXPECT_EQ(
            socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, ends.data()), 0);
        const auto end = std::make_shared<const FileDescriptor>(ends[1]);
        if (kind == Kind::kRfkill) {
            const std::lock_guard lock(mutex_);
            for (const auto& [number, block] : blocks_) {
                Send(*end, BlockEvent(number, block.first, block.second, RFKILL_OP_ADD));
            }
        }
        loop_.Post([this, end, kind, taken = std::move(taken)] {
            readers_.push_back(std::make_unique<PacketReader>(
                loop_, *end, [end, taken](const Octets& packet) { taken(*end, packet); },
                [this, end] { RemoveInterfacesOf(*end); }));
            ends_.push_back({end, kind});
        });
        return FileDescriptor(ends[0]);
    }

    static void Send(const FileDescriptor& end, const Octets& packet)
    {
        send(end.Get(), packet.data(), packet.size(), MSG_NOSIGNAL);
    }

    static Octets BlockEvent(std::uint32_t number, bool soft, bool hard, std::uint8_t operation)
    {
        return OctetsOf(number) + Octets{RFKILL_TYPE_WLAN, operation, soft, hard};
    }

    void EmitBlock(std::uint32_t number, bool soft, bool hard, std::uint8_t operation)
    {
        EmitPacket(Kind::kRfkill, BlockEvent(number, soft, hard, operation));
    }
    void EmitFamily(std::uint8_t command)
    {
        EmitPacket(Kind::kGeneric, FamilyMessage(GENL_ID_CTRL, 0, command,
                                                 Attribute(CTRL_ATTR_FAMILY_NAME, "nl80211")));
    }
    /// To those who have joined the group.
    void Emit(std::uint8_t command, std::uint32_t group)
    {
        const std::lock_guard lock(mutex_);
        if (joined_.contains(group)) {
            EmitPacket(Kind::kGeneric, FamilyMessage(family_, 0, command, {}));
        }
    }
    void EmitPacket(Kind kind, const Octets& packet)
    {
        loop_.Post([this, kind, packet] {
            for (const End& end : ends_) {
                if (end.kind == kind) {
                    Send(*end.socket, packet);
                }
            }
        });
    }

    void SetSoftBlocks(bool soft)
    {
        const std::lock_guard lock(mutex_);
        for (auto& [number, block] : blocks_) {
            if (std::exchange(block.first, soft) != soft) {
                EmitBlock(number, soft, block.second, RFKILL_OP_CHANGE);
            }
        }
    }

    void Answer(const FileDescriptor& end, const Octets& packet)
    {
        constexpr std::uint16_t kInterrupted = 0x10;
        std::uint16_t family = 0;
        std::memcpy(&family, packet.data() + 4, sizeof family);
        const std::uint32_t sequence = SequenceOf(packet);
        const std::uint8_t command = packet.at(16);
        const std::lock_guard lock(mutex_);
        if (family == GENL_ID_CTRL) {
            if (hasFamily_) {
                Send(end,
                     FamilyMessage(GENL_ID_CTRL, sequence, CTRL_CMD_NEWFAMILY,
                                   Attribute(CTRL_ATTR_FAMILY_ID, OctetsOf(family_)) + Groups()));
            }
            Send(end, Acknowledgement(sequence, hasFamily_ ? 0 : ENOENT));
            return;
        }
        if (!hasFamily_ || family != family_) {
            Send(end, Acknowledgement(sequence, ENOENT));
            return;
        }
        if (command == NL80211_CMD_NEW_INTERFACE || command == NL80211_CMD_DEL_INTERFACE) {
            Change(end, sequence, command, packet);
            return;
        }
        Fault& fault = faults_[command];
        if (fault.times > 0) {
            --fault.times;
            const bool isInterrupted = fault.error == EINTR;
            Send(end, EndOfDump(sequence, isInterrupted ? kInterrupted : std::uint16_t{0},
                                isInterrupted ? 0 : fault.error));
            return;
        }
        for (const Octets& attributes : ListOf(command, AttributesIn(packet))) {
            Send(end, FamilyMessage(family_, sequence, command, attributes, NLM_F_MULTI));
        }
        Send(end, EndOfDump(sequence));
    }

    static std::uint32_t SequenceOf(const Octets& packet)
    {
        std::uint32_t sequence = 0;
        std::memcpy(&sequence, packet.data() + 8, sizeof sequence);
        return sequence;
    }

    void RemoveInterfacesOf(const FileDescriptor& end)
    {
        const std::lock_guard lock(mutex_);
        std::erase_if(interfaces_, [&](const auto& one) { return one.second.owner == &end; });
    }

    /// Makes or removes an interface.
    void Change(const FileDescriptor& end, std::uint32_t sequence, std::uint8_t command,
                const Octets& packet)
    {
        const netlink::Attributes attributes = AttributesIn(packet);
        if (command == NL80211_CMD_DEL_INTERFACE) {
            interfaces_.erase(attributes.Get<std::uint32_t>(NL80211_ATTR_IFINDEX).value_or(0));
        } else if (interfaceError_ == 0) {
            constexpr std::uint32_t kFirst = 100;
            const std::uint32_t index = kFirst + ++made_;
            interfaces_[index] = {attributes.Get<std::uint32_t>(NL80211_ATTR_WIPHY).value_or(0),
                                  attributes.Text(NL80211_ATTR_IFNAME).value_or(""),
                                  {},
                                  0,
                                  NL80211_IFTYPE_AP,
                                  attributes.Has(NL80211_ATTR_SOCKET_OWNER) ? &end : nullptr};
            if (areInterfacesHeld_) {
                return;
            }
            Send(end, FamilyMessage(family_, sequence, command,
                                    AttributesOf(index, interfaces_[index])));
        }
        const bool isMade = command == NL80211_CMD_NEW_INTERFACE;
        Send(end, Acknowledgement(sequence, isMade ? interfaceError_ : 0));
    }

    static Octets Groups()
    {
        const auto group = [](const char* name, std::uint32_t number) {
            return Attribute(CTRL_ATTR_MCAST_GRP_NAME, name) +
                   Attribute(CTRL_ATTR_MCAST_GRP_ID, number);
        };
        return List(CTRL_ATTR_MCAST_GROUPS, {group(NL80211_MULTICAST_GROUP_CONFIG, kConfiguration),
                                             group(NL80211_MULTICAST_GROUP_SCAN, kScans),
                                             group(NL80211_MULTICAST_GROUP_REG, kRegulation),
                                             group(NL80211_MULTICAST_GROUP_MLME, kNetworks)});
    }

    static netlink::Attributes AttributesIn(const Octets& packet)
    {
        constexpr std::size_t kHeaders = 20;
        return netlink::Attributes(std::span(packet).subspan(kHeaders));
    }

    std::vector<Octets> ListOf(std::uint8_t command, const netlink::Attributes& attributes) const
    {
        std::vector<Octets> list;
        if (command == NL80211_CMD_GET_WIPHY) {
            for (const auto& [number, frequencies] : cards_) {
                list.push_back(Attribute(NL80211_ATTR_WIPHY, number) +
                               Attribute(NL80211_ATTR_WIPHY_NAME, "phy" + std::to_string(number)));
                list.push_back(Attribute(NL80211_ATTR_WIPHY, number) + BandsOf(frequencies));
            }
        } else if (command == NL80211_CMD_GET_INTERFACE) {
            for (const auto& [index, interface] : interfaces_) {
                list.push_back(AttributesOf(index, interface));
            }
        } else if (command == NL80211_CMD_GET_SCAN) {
            const auto found =
                interfaces_.find(attributes.Get<std::uint32_t>(NL80211_ATTR_IFINDEX).value_or(0));
            list.push_back(NetworkOf("Another", false));
            if (found != interfaces_.end() && !found->second.ssid.empty()) {
                list.push_back(NetworkOf(found->second.ssid, true));
            }
        } else if (command == NL80211_CMD_GET_SURVEY) {
            for (const Survey& survey : surveys_) {
                list.push_back(
                    Nest(NL80211_ATTR_SURVEY_INFO,
                         Attribute(NL80211_SURVEY_INFO_FREQUENCY, survey.frequency) +
                             Attribute(NL80211_SURVEY_INFO_TIME, OctetsOf(survey.active)) +
                             Attribute(NL80211_SURVEY_INFO_TIME_BUSY, OctetsOf(survey.busy))));
            }
        }
        return list;
    }

    /// A result of a scan.
    static Octets NetworkOf(const std::string& ssid, bool isJoined)
    {
        const Octets elements = Octets{1, 1, 0x82} +
                                Octets{0, static_cast<std::uint8_t>(ssid.size())} +
                                Octets(ssid.begin(), ssid.end());
        const Octets status =
            Attribute(NL80211_BSS_STATUS, std::uint32_t{NL80211_BSS_STATUS_ASSOCIATED});
        return Nest(NL80211_ATTR_BSS, Attribute(NL80211_BSS_INFORMATION_ELEMENTS, elements) +
                                          (isJoined ? status : Octets()));
    }

    static Octets BandsOf(const Frequencies& frequencies)
    {
        std::vector<Octets> list;
        for (const std::uint32_t frequency : frequencies) {
            list.push_back(Attribute(NL80211_FREQUENCY_ATTR_FREQ, frequency));
        }
        const auto limit = [](std::uint16_t kind, std::uint32_t most) {
            return Attribute(NL80211_IFACE_LIMIT_MAX, most) +
                   Nest(NL80211_IFACE_LIMIT_TYPES, Attribute(kind));
        };
        const Octets combination =
            List(NL80211_IFACE_COMB_LIMITS,
                 {limit(NL80211_IFTYPE_STATION, 1), limit(NL80211_IFTYPE_AP, 2)}) +
            Attribute(NL80211_IFACE_COMB_MAXNUM, std::uint32_t{3}) +
            Attribute(NL80211_IFACE_COMB_NUM_CHANNELS, std::uint32_t{1});
        return Nest(NL80211_ATTR_WIPHY_BANDS, Nest(0, List(NL80211_BAND_ATTR_FREQS, list))) +
               List(NL80211_ATTR_INTERFACE_COMBINATIONS, {combination});
    }

    static Octets AttributesOf(std::uint32_t index, const Interface& interface)
    {
        Octets attributes = Attribute(NL80211_ATTR_IFINDEX, index) +
                            Attribute(NL80211_ATTR_IFNAME, interface.name) +
                            Attribute(NL80211_ATTR_WIPHY, interface.card) +
                            Attribute(NL80211_ATTR_IFTYPE, interface.kind);
        if (!interface.ssid.empty()) {
            attributes = attributes + Attribute(NL80211_ATTR_WIPHY_FREQ, interface.frequency);
            if (interface.kind != NL80211_IFTYPE_STATION) {
                attributes =
                    attributes + Attribute(NL80211_ATTR_SSID,
                                           Octets(interface.ssid.begin(), interface.ssid.end()));
            }
        }
        return attributes;
    }

    mutable std::mutex mutex_;  // guards the rest down to faults_
    int interfaceError_ = 0;
    bool areInterfacesHeld_ = false;
    std::uint32_t made_ = 0;  // interfaces
    bool hasFamily_ = true;
    std::uint16_t family_ = kFirstFamily;
    int refusedSockets_ = 0;
    std::set<std::uint32_t> joined_;
    std::map<std::uint32_t, Frequencies> cards_;
    std::map<std::uint32_t, Interface> interfaces_;
    std::vector<Survey> surveys_;
    std::map<std::uint32_t, std::pair<bool, bool>> blocks_;  // soft, hard
    std::map<std::uint8_t, Fault> faults_;

    Complaints complaints_;
    // In its thread:
    std::vector<End> ends_;
    std::vector<std::unique_ptr<PacketReader>> readers_;
    Loop loop_{[this](std::string_view text) { complaints_.Add(text); }};
};

}  // namespace pelacon::service::linux_radios::tests
